#include "tools/RenderTools.hpp"

#include <exception>
#include <mutex>
#include <thread>

#include "tools/RenderError.hpp"

namespace orvandel::RenderTools {

std::string tail(const std::string& text, std::size_t maxChars) {
    std::string t = text;
    while (!t.empty() && (t.back() == '\n' || t.back() == '\r' || t.back() == ' ')) t.pop_back();
    std::size_t start = 0;
    while (start < t.size() && (t[start] == '\n' || t[start] == ' ')) ++start;
    t = t.substr(start);
    if (t.size() > maxChars) {
        std::size_t cut = t.size() - maxChars;
        while (cut < t.size() && (static_cast<unsigned char>(t[cut]) & 0xC0) == 0x80) ++cut;  // whole characters
        t = "..." + t.substr(cut);
    }
    return t;
}

std::vector<std::string> fileInput(const std::filesystem::path& file, bool withOption) {
    std::vector<std::string> args{"-protocol_whitelist", "file"};
    if (withOption) args.push_back("-i");
    args.push_back("file:" + file.string());
    return args;
}

std::vector<std::string> storedInput(const std::filesystem::path& file, std::int64_t begin, std::int64_t end,
                                     bool withOption) {
    std::vector<std::string> args{"-protocol_whitelist", "subfile,file"};
    if (withOption) args.push_back("-i");
    args.push_back("subfile,,start," + std::to_string(begin) + ",end," + std::to_string(end) +
                   ",,:file:" + file.string());
    return args;
}

std::vector<std::string> mediaInput(const std::filesystem::path& file, bool withOption) {
    std::vector<std::string> args{"-format_whitelist", kMediaFormats};
    const auto input = fileInput(file, withOption);
    args.insert(args.end(), input.begin(), input.end());
    return args;
}

std::string lastLine(const std::string& text) {
    std::string t = tail(text, std::string::npos);
    const auto newline = t.find_last_of('\n');
    return newline == std::string::npos ? t : t.substr(newline + 1);
}

SubprocessResult runTool(ExportStage stage, const std::string& errorLead, const std::string& program,
                         const std::string& debianPackage, const std::vector<std::string>& args,
                         const SubprocessOptions& options) {
    const auto path = Subprocess::findOnPath(program);
    if (!path) {
        throw RenderError(RenderError::Case::missingTool, stage,
                          errorLead + ": " + program + " was not found on PATH. Install the Debian package " +
                              debianPackage + " (or run scripts/install-deps.sh) and try again.");
    }
    std::vector<std::string> argv{path->string()};
    argv.insert(argv.end(), args.begin(), args.end());
    SubprocessResult r;
    try {
        // A deck's media and pictures are untrusted: the tools that read them
        // get no network to reach, where the system allows it.
        SubprocessOptions isolated = options;
        isolated.isolateNetwork = true;
        r = Subprocess::run(argv, isolated);
    } catch (const LaunchError& e) {
        throw RenderError(RenderError::Case::missingTool, stage,
                          errorLead + ": " + e.what() + ". Reinstall the Debian package " + debianPackage + ".",
                          e.cause(), e.errnoValue());
    }
    if (r.cancelled) throw CancelledError();
    if (r.timedOut) {
        throw RenderError(RenderError::Case::timedOut, stage,
                          errorLead + ": " + program + " did not finish within " +
                              std::to_string(options.timeout ? options.timeout->count() / 1000 : 0) +
                              " s and was stopped. Try again; if it keeps happening, pass a movie you rendered "
                              "yourself with --mp4.");
    }
    if (!r.succeeded()) {
        const std::string detail = tail(r.standardError);
        throw RenderError(RenderError::Case::toolFailed, stage,
                          errorLead + ": " + program + " failed (exit status " + std::to_string(r.exitStatus) + ")" +
                              (detail.empty() ? std::string(".") : ": " + detail),
                          lastLine(r.standardError));
    }
    return r;
}

void inParallel(int n, const std::function<void(int)>& work) {
    std::exception_ptr failure;
    std::mutex failureMutex;
    auto guarded = [&](int k) {
        try {
            work(k);
        } catch (...) {
            std::lock_guard lock(failureMutex);
            if (!failure) failure = std::current_exception();
        }
    };
    std::vector<std::thread> threads;
    for (int k = 1; k < n; ++k) threads.emplace_back(guarded, k);
    if (n > 0) guarded(0);
    for (auto& t : threads) t.join();
    if (failure) std::rethrow_exception(failure);
}

}  // namespace orvandel::RenderTools
