# Fails when a source file includes a header of a layer above its own, or a
# core file includes a header of its own library without naming the layer.
# Run by the build (target orvandel_check_layers):
#   cmake -DROOT=<source dir> -DSTAMP=<file> -P CheckLayers.cmake
#
# Units are folders. Each may include headers of its own folder and of the
# folders listed after it; a header is found the way the compiler finds it
# (beside the including file first, then the include roots below). The
# headless renderer's stages come in the order an export runs through them,
# each on top of those before it: tools, the render cache, plan, media,
# storyboard, pixels,
# encode, then the driver that runs them.
cmake_minimum_required(VERSION 3.25)
set(units
  "OrvandelCore/base|"
  "OrvandelCore/container|OrvandelCore/base"
  "OrvandelCore/deck|OrvandelCore/base OrvandelCore/container"
  "OrvandelCore/rewrite|OrvandelCore/base OrvandelCore/container OrvandelCore/deck"
  "OrvandelCore/render|OrvandelCore/base"
  "OrvandelCore/package|OrvandelCore/base OrvandelCore/container OrvandelCore/deck OrvandelCore/rewrite OrvandelCore/render"
  "OrvandelPowerPoint|OrvandelCore/base OrvandelCore/render"
  "OrvandelRender/tools|OrvandelCore/base OrvandelCore/container OrvandelCore/deck OrvandelCore/rewrite OrvandelCore/render"
  "OrvandelRender/cache|OrvandelCore/base OrvandelCore/container OrvandelCore/deck OrvandelCore/rewrite OrvandelCore/render OrvandelRender/tools"
  "OrvandelRender/plan|OrvandelCore/base OrvandelCore/container OrvandelCore/deck OrvandelCore/rewrite OrvandelCore/render OrvandelRender/tools"
  "OrvandelRender/media|OrvandelCore/base OrvandelCore/container OrvandelCore/deck OrvandelCore/rewrite OrvandelCore/render OrvandelRender/tools OrvandelRender/cache OrvandelRender/plan"
  "OrvandelRender/storyboard|OrvandelCore/base OrvandelCore/container OrvandelCore/deck OrvandelCore/rewrite OrvandelCore/render OrvandelRender/tools OrvandelRender/cache OrvandelRender/plan OrvandelRender/media"
  "OrvandelRender/pixels|OrvandelCore/base OrvandelCore/container OrvandelCore/deck OrvandelCore/rewrite OrvandelCore/render OrvandelRender/tools OrvandelRender/cache OrvandelRender/plan OrvandelRender/media OrvandelRender/storyboard"
  "OrvandelRender/encode|OrvandelCore/base OrvandelCore/container OrvandelCore/deck OrvandelCore/rewrite OrvandelCore/render OrvandelRender/tools OrvandelRender/cache OrvandelRender/plan OrvandelRender/media OrvandelRender/storyboard OrvandelRender/pixels"
  "OrvandelRender|OrvandelCore/base OrvandelCore/container OrvandelCore/deck OrvandelCore/rewrite OrvandelCore/render OrvandelRender/tools OrvandelRender/cache OrvandelRender/plan OrvandelRender/media OrvandelRender/storyboard OrvandelRender/pixels OrvandelRender/encode"
  "OrvandelRenderers|OrvandelCore/base OrvandelCore/render OrvandelRender OrvandelRender/tools OrvandelRender/cache OrvandelRender/plan OrvandelPowerPoint"
  "orvandel|*"
  "../App/Sources/OrvandelApp|*"
  "../App/Sources/OrvandelApp/export|*"
  "../App/Sources/OrvandelApp/update|*")
set(roots OrvandelCore OrvandelRender OrvandelPowerPoint OrvandelRenderers orvandel ../App/Sources/OrvandelApp)

set(sources "${ROOT}/Sources")
set(failures "")
foreach(entry IN LISTS units)
  string(REPLACE "|" ";" parts "${entry}")
  list(GET parts 0 unit)
  list(LENGTH parts n)
  set(allowed "")
  if(n GREATER 1)
    list(GET parts 1 allowedText)
    separate_arguments(allowed UNIX_COMMAND "${allowedText}")
  endif()
  get_filename_component(unitDir "${sources}/${unit}" ABSOLUTE)
  file(GLOB files "${unitDir}/*.cpp" "${unitDir}/*.hpp")
  foreach(file IN LISTS files)
    file(STRINGS "${file}" includes REGEX "^[ \t]*#[ \t]*include[ \t]*\"")
    get_filename_component(fileDir "${file}" DIRECTORY)
    foreach(line IN LISTS includes)
      string(REGEX REPLACE "^[ \t]*#[ \t]*include[ \t]*\"([^\"]*)\".*" "\\1" header "${line}")
      set(found "")
      set(besideFile FALSE)
      if(EXISTS "${fileDir}/${header}")
        get_filename_component(found "${fileDir}/${header}" ABSOLUTE)
        set(besideFile TRUE)
      else()
        foreach(root IN LISTS roots)
          if(EXISTS "${sources}/${root}/${header}")
            get_filename_component(found "${sources}/${root}/${header}" ABSOLUTE)
            break()
          endif()
        endforeach()
      endif()
      if(found STREQUAL "")
        continue()  # a system or generated header
      endif()
      get_filename_component(foundDir "${found}" DIRECTORY)
      file(RELATIVE_PATH rel "${ROOT}" "${file}")
      if(besideFile AND unit MATCHES "^OrvandelCore/")
        string(REGEX REPLACE "^OrvandelCore/" "" layer "${unit}")
        list(APPEND failures "${rel}: #include \"${header}\" must name its layer: \"${layer}/${header}\"")
        continue()
      endif()
      if(foundDir STREQUAL unitDir OR allowed STREQUAL "*")
        continue()
      endif()
      set(ok FALSE)
      foreach(a IN LISTS allowed)
        get_filename_component(aDir "${sources}/${a}" ABSOLUTE)
        if(foundDir STREQUAL aDir)
          set(ok TRUE)
        endif()
      endforeach()
      if(NOT ok)
        file(RELATIVE_PATH target "${sources}" "${foundDir}")
        string(REPLACE ";" " " allowedText "${allowed}")
        if(allowedText STREQUAL "")
          set(allowedText "nothing but itself")
        endif()
        list(APPEND failures
          "${rel}: ${unit} may not include \"${header}\" (${target} is not below it, and it may include only ${allowedText})")
      endif()
    endforeach()
  endforeach()
endforeach()

if(failures)
  list(JOIN failures "\n  " text)
  message(FATAL_ERROR "Layer check failed:\n  ${text}\n")
endif()
file(TOUCH "${STAMP}")
