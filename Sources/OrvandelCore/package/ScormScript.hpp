#pragma once
// The script that makes the lesson page a SCORM 1.2 SCO. Added to the page
// (PreviewPage::html's extra script), it finds the LMS's API as SCORM 1.2
// says (up to 7 parent windows, then the opener and its parents), starts
// the session, marks the lesson incomplete on its first launch and
// completed when the movie has played to its end or every slide has been
// reached, keeps the position in the movie (cmi.core.lesson_location, in
// ms) and the slides reached (cmi.suspend_data, as ranges "1-4,7") so that
// the next launch goes back there, commits when something changed (slides,
// status) and every 10 s while the position moves, and on leaving the page
// suspends and finishes the session once. Without an LMS it does nothing
// and the page plays as it is.
#include <string>

#include "package/LessonPackage.hpp"

namespace orvandel::ScormScript {

// The script for this lesson: the slides it counts for completion are
// those its cues name.
std::string script(const LessonPackage::Lesson& lesson);

}  // namespace orvandel::ScormScript
