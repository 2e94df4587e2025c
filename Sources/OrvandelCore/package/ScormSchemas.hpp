#pragma once
// The XML Schema files a SCORM 1.2 package carries beside its manifest
// (data/scorm12, where SOURCE.md says where they came from), built into the
// program so that an installed tool has them.
#include <span>

#include "package/EmbeddedFile.hpp"

namespace orvandel::ScormSchemas {

// imscp_rootv1p1p2.xsd, adlcp_rootv1p2.xsd, imsmd_rootv1p2p1.xsd and ims_xml.xsd.
std::span<const EmbeddedFile> files();

}  // namespace orvandel::ScormSchemas
