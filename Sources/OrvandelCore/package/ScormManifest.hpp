#pragma once
// imsmanifest.xml of a SCORM 1.2 package holding one lesson: one
// organization with one item, launching one SCO (the lesson page), with the
// namespaces and schema locations SCORM 1.2 asks for, so that the manifest
// validates against the schema files packed beside it.
#include <string>
#include <string_view>
#include <vector>

namespace orvandel::ScormManifest {

// The XML. `title` is the lesson's, as text (escaped here; characters XML
// cannot carry are dropped and it is cut at the 200 characters SCORM allows
// a title). `files` are the SCO's files, the first one launched.
// `identifier` names the package; it must be an XML name (letters, digits,
// '-', '.', '_', starting with a letter).
std::string xml(std::string_view title, std::string_view identifier, const std::vector<std::string>& files);

}  // namespace orvandel::ScormManifest
