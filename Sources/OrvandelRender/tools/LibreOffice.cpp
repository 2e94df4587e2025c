#include "tools/LibreOffice.hpp"

#include "tools/LibreOfficeProfile.hpp"

#include <algorithm>
#include <system_error>

#include "base/Bytes.hpp"
#include "base/Subprocess.hpp"
#include "container/XMLEmitter.hpp"
#include "tools/FontAliases.hpp"
#include "tools/RenderError.hpp"
#include "tools/RenderTools.hpp"

namespace orvandel::LibreOffice {

namespace {

// How the errors of this stage begin.
const char* const kErrorLead = "converting the deck with LibreOffice";

}  // namespace

std::optional<std::filesystem::path> findSoffice() { return Subprocess::findOnPath("soffice"); }

std::string fontConfiguration(const std::filesystem::path& cacheDir, const std::vector<std::filesystem::path>& fontDirs,
                              const std::vector<std::string>& embeddedFamilies) {
    // The scratch cache comes first: fontconfig writes a cache it lacks into
    // the first folder it can, and that must not be the user's own.
    std::string conf = "<?xml version=\"1.0\"?>\n<!DOCTYPE fontconfig SYSTEM \"fonts.dtd\">\n<fontconfig>\n"
                       "  <cachedir>" +
                       XMLEmitter::escapeAttribute(cacheDir.string()) +
                       "</cachedir>\n"
                       "  <include ignore_missing=\"yes\">/etc/fonts/fonts.conf</include>\n";
    for (const auto& folder : FontAliases::extraFolders()) {
        const std::string path = XMLEmitter::escapeAttribute(std::string(folder.path));
        conf += "  <dir>" + path + "</dir>\n  <selectfont><rejectfont><glob>" + path +
                "/*</glob></rejectfont><acceptfont><glob>" + path + "/" +
                XMLEmitter::escapeAttribute(std::string(folder.accepted)) + "</glob></acceptfont></selectfont>\n";
    }
    for (const auto& dir : fontDirs) conf += "  <dir>" + XMLEmitter::escapeAttribute(dir.string()) + "</dir>\n";
    for (const auto& alias : FontAliases::all()) {
        // The font the deck embeds is the font itself: no stand-in replaces it.
        if (std::any_of(embeddedFamilies.begin(), embeddedFamilies.end(),
                        [&](const std::string& family) { return FontAliases::find(family) == &alias; })) {
            continue;
        }
        // A strong binding replaces the family outright, so the stand-in wins
        // over any fallback fontconfig would otherwise rank higher. A twin
        // replaces its original wherever it is named, in fontconfig's own
        // fallback lists too (Arial's twin is what an unknown font falls back
        // to); a look-alike only where the deck names the font itself.
        conf += std::string("  <match target=\"pattern\"><test name=\"family\" qual=\"") +
                (alias.metricCompatible ? "any" : "first") + "\"><string>";
        conf += XMLEmitter::escapeAttribute(std::string(alias.office));
        conf += "</string></test><edit name=\"family\" mode=\"assign\" binding=\"strong\"><string>";
        conf += XMLEmitter::escapeAttribute(std::string(alias.drawnWith));
        conf += "</string></edit></match>\n";
    }
    conf += "</fontconfig>\n";
    return conf;
}

std::chrono::milliseconds timeLimit(std::int64_t pages) {
    return std::chrono::milliseconds(120'000 + 1'000 * std::max<std::int64_t>(0, pages));
}

std::string memorySize(std::int64_t bytes) {
    constexpr std::int64_t kMiB = std::int64_t{1} << 20, kGiB = std::int64_t{1} << 30;
    if (bytes < kGiB) return std::to_string((bytes + kMiB / 2) / kMiB) + " MiB";
    const std::int64_t tenths = (bytes / (kGiB / 1024) * 10 + 512) / 1024;  // of a GiB, rounded
    return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " GiB";
}

std::filesystem::path convert(const std::filesystem::path& input, const std::string& convertTo,
                              const std::string& outputExtension, const std::filesystem::path& outDir,
                              const ConvertOptions& options) {
    const auto soffice = findSoffice();
    if (!soffice) {
        throw RenderError(
            RenderError::Case::missingTool, ExportStage::pdf,
            std::string(kErrorLead) +
                ": soffice was not found on PATH. Install LibreOffice "
                "(Debian package libreoffice-impress-nogui, or run scripts/install-deps.sh) and try again.");
    }
    const std::string deck = options.deckName.empty() ? input.filename().string() : options.deckName;
    std::error_code ec;
    std::filesystem::create_directories(options.workDir, ec);
    std::filesystem::create_directories(outDir, ec);
    const auto fontsConf = options.workDir / "fonts.conf";
    writeFile(fontsConf,
              fontConfiguration(options.workDir / "fontconfig-cache", options.fontDirs, options.embeddedFamilies));

    const auto output = outDir / (input.stem().string() + "." + outputExtension);
    const auto seconds = std::to_string((options.timeout.count() + 999) / 1000);
    for (int attempt = 1;; ++attempt) {
        const auto profile = options.workDir / ("lo-profile-" + std::to_string(attempt));
        std::filesystem::remove(output, ec);
        LibreOfficeProfile::closeToNetwork(profile);
        // LibreOffice says "convert <input> -> <output>" once it has loaded
        // the deck; until then a hang is its own start, not the deck.
        bool loaded = false;
        SubprocessResult r;
        try {
            r = Subprocess::run({soffice->string(), "-env:UserInstallation=file://" + profile.string(), "--headless",
                                 "--invisible", "--nologo", "--norestore", "--nodefault", "--nolockcheck",
                                 "--convert-to", convertTo, "--outdir", outDir.string(), input.string()},
                                {.environment = {"FONTCONFIG_FILE=" + fontsConf.string(), "SAL_USE_VCLPLUGIN=svp",
                                                 "HOME=" + options.workDir.string(),
                                                 // its temporary files (copies of embedded media among them) stay in
                                                 // the scratch folder, which goes however the render ends
                                                 "TMPDIR=" + options.workDir.string()},
                                 .timeout = options.timeout,
                                 .cancel = options.cancel,
                                 .onStandardOutput =
                                     [&](std::string_view chunk) {
                                         if (chunk.find("convert ") != std::string_view::npos) loaded = true;
                                     },
                                 .memoryLimit = options.memoryLimit,
                                 .isolateNetwork = true});
        } catch (const LaunchError& e) {
            throw RenderError(RenderError::Case::missingTool, ExportStage::pdf,
                              std::string(kErrorLead) + ": " + e.what() +
                                  ". Reinstall LibreOffice (Debian package libreoffice-impress-nogui).",
                              e.cause(), e.errnoValue());
        }
        std::filesystem::remove_all(profile, ec);
        if (r.cancelled) throw CancelledError();
        if (r.memoryExceeded) {
            throw RenderError(RenderError::Case::tooLarge, ExportStage::pdf,
                              std::string(kErrorLead) + ": LibreOffice needed more than " +
                                  memorySize(*options.memoryLimit) + ", its memory limit, for " + deck +
                                  ", and was stopped. Split the deck into smaller ones, or allow more memory "
                                  "with --max-memory.");
        }
        if (r.timedOut && !loaded && attempt == 1) continue;  // a hang at start: once more, fresh profile
        if (r.timedOut) {
            throw RenderError(RenderError::Case::timedOut, ExportStage::pdf,
                              std::string(kErrorLead) + ": LibreOffice did not finish " + deck + " within " + seconds +
                                  " s, its time limit, and was stopped" +
                                  (loaded ? "" : " (twice: the second time with a fresh profile)") +
                                  ". Close other LibreOffice windows and try again, split the deck into smaller "
                                  "ones, or pass a movie you rendered yourself with --mp4.");
        }
        if (std::filesystem::is_regular_file(output, ec) && std::filesystem::file_size(output, ec) > 0) {
            return output;
        }
        std::string detail = RenderTools::tail(r.standardError);
        if (detail.empty()) detail = RenderTools::tail(r.standardOutput);
        throw RenderError(RenderError::Case::toolFailed, ExportStage::pdf,
                          std::string(kErrorLead) + ": LibreOffice (exit status " + std::to_string(r.exitStatus) +
                              ") wrote no " + outputExtension + " for " + deck + (detail.empty() ? "" : ": " + detail) +
                              ". Check that the deck opens in LibreOffice Impress.");
    }
}

}  // namespace orvandel::LibreOffice
