#pragma once
// The fixed parts every deck needs besides its slides: a theme, one slide
// master with a title layout and a title-and-content layout, a notes master,
// and the small presentation property parts. Minimal, but complete enough for
// presentation programs to open the deck without repairing it.
//
// Relationship ids the parts rely on:
//   slide master:  rId1 = title layout, rId2 = content layout, rId3 = theme1
//   layouts:       rId1 = the slide master
//   notes master:  rId1 = theme2
#include <string>
#include <string_view>

namespace orvandel::example {

inline constexpr const char* kXmlDecl = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n";
// xmlns:a, xmlns:r and xmlns:p, for the root elements of PresentationML parts.
extern const char* const kPmlNamespaces;

// A theme named `name` with a green colour scheme and the Calibri fonts.
std::string theme(std::string_view name);
std::string slideMaster();
std::string titleLayout();
std::string contentLayout();
std::string notesMaster();

std::string presentationProperties();
std::string viewProperties();
std::string tableStyles();

}  // namespace orvandel::example
