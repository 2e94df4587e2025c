#pragma once
// Videos and audio clips that only a click (on them or another shape) starts: their
// media calls stand in interactive sequences (a p:seq whose time node is an
// "interactiveSeq", begun by a click on the trigger shape) and nowhere
// else. A lesson has no one to click, so they are not played: they stay
// still, and the deck is not refused for them.
#include "container/XmlElement.hpp"

namespace orvandel::TriggerMedia {

struct Found {
    bool video = false;
    bool audio = false;
    bool operator==(const Found&) const = default;
};

// Over the whole slide (any prefix). A medium also started elsewhere in the
// timing (the main sequence) is not one of them.
Found find(const XmlElement& slide);

}  // namespace orvandel::TriggerMedia
