#pragma once
// The stages of an export, in the order one runs through them. Progress is
// reported by stage and a failure of the headless renderer names the stage
// it happened in; each front end (the command line, the app) says them in
// its own words.
namespace orvandel {

enum class ExportStage {
    scan,          // the deck's slides, animations and media are read
    prepare,       // the self-playing copy of the deck is written
    render,        // a renderer that reports no stages of its own makes the movie
    readPlan,      // the headless renderer reads what every slide shows when
    media,         // videos, audio clips and GIFs are probed (ffprobe)
    storyboard,    // the deck LibreOffice draws is written
    pdf,           // LibreOffice draws the storyboard as PDF pages
    draw,          // poppler draws the pages as stills
    frames,        // the stills become the movie's frames
    encode,        // ffmpeg encodes the movie
    chapters,      // the chapter marks are put into the movie
    readChapters,  // a package's chapter marks are read back
    package,       // the package is written
    copyMovie,     // the preview's copy of the movie is written
};

}  // namespace orvandel
