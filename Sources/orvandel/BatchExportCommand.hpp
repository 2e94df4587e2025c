#pragma once
// `orvandel export` over several decks or folders: every deck exported by
// itself, a few at a time, a progress line per running deck, a summary at the
// end (or JSON), exit status 1 when any deck failed.
#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "RendererChoice.hpp"

namespace orvandel::cli {

struct BatchExportOptions {
    std::vector<std::string> decks;  // decks and folders of decks
    std::string outDir;              // empty: each package beside its deck
    int jobs = 0;                    // 0: as many as the cores and memory allow
    std::string shard;               // "I/N", or empty for the whole list
    bool json = false;
    std::vector<std::string> video;
    std::vector<std::string> gif;
    std::string renderer = "auto";
    std::string effects = "draw";  // "draw" or "cut"
    bool allowLinksOutside = false;
    std::optional<std::int64_t> maxMemory;  // bytes; nothing: a share of the machine's memory per deck
    RendererChoice::Cache cache;            // one cache for every deck, shared by those that run at once
    VideoSettings videoSettings;
};

int runBatchExport(const BatchExportOptions& options, std::ostream& out, std::ostream& err);

}  // namespace orvandel::cli
