#include "LibreOffice.hpp"

#include <system_error>

#include "RenderError.hpp"
#include "RenderTools.hpp"
#include "base/Bytes.hpp"
#include "base/Subprocess.hpp"
#include "container/XMLEmitter.hpp"

namespace orvandel::LibreOffice {

namespace {

const char* const kStage = "converting the deck with LibreOffice";

// Office fonts and the free fonts drawn with the same advance widths, so that
// text wraps and fits exactly as the author laid it out.
const std::pair<const char*, const char*> kFontTwins[] = {
    {"Calibri", "Carlito"},
    {"Calibri Light", "Carlito"},
    {"Cambria", "Caladea"},
    {"Arial", "Liberation Sans"},
    {"Helvetica", "Liberation Sans"},
    {"Times New Roman", "Liberation Serif"},
    {"Courier New", "Liberation Mono"},
};

}  // namespace

std::optional<std::filesystem::path> findSoffice() { return Subprocess::findOnPath("soffice"); }

std::string fontConfiguration(const std::filesystem::path& cacheDir) {
    std::string conf =
        "<?xml version=\"1.0\"?>\n<!DOCTYPE fontconfig SYSTEM \"fonts.dtd\">\n<fontconfig>\n"
        "  <include ignore_missing=\"yes\">/etc/fonts/fonts.conf</include>\n"
        "  <cachedir>" + XMLEmitter::escapeAttribute(cacheDir.string()) + "</cachedir>\n";
    for (const auto& [office, twin] : kFontTwins) {
        // A strong binding replaces the family outright, so the twin wins over
        // any fallback fontconfig would otherwise rank higher.
        conf += "  <match target=\"pattern\"><test name=\"family\" qual=\"any\"><string>";
        conf += office;
        conf += "</string></test><edit name=\"family\" mode=\"assign\" binding=\"strong\"><string>";
        conf += twin;
        conf += "</string></edit></match>\n";
    }
    conf += "</fontconfig>\n";
    return conf;
}

std::filesystem::path convert(const std::filesystem::path& input, const std::string& convertTo,
                              const std::string& outputExtension, const std::filesystem::path& outDir,
                              const ConvertOptions& options) {
    const auto soffice = findSoffice();
    if (!soffice) {
        throw RenderError(RenderError::Case::missingTool, kStage,
                          std::string(kStage) + ": soffice was not found on PATH. Install LibreOffice "
                          "(Debian package libreoffice-impress-nogui, or run scripts/install-deps.sh) and try again.");
    }
    std::error_code ec;
    std::filesystem::create_directories(options.workDir, ec);
    std::filesystem::create_directories(outDir, ec);
    const auto fontsConf = options.workDir / "fonts.conf";
    writeFile(fontsConf, fontConfiguration(options.workDir / "fontconfig-cache"));

    const auto output = outDir / (input.stem().string() + "." + outputExtension);
    std::string lastError;
    for (int attempt = 1; attempt <= 2; ++attempt) {
        const auto profile = options.workDir / ("lo-profile-" + std::to_string(attempt));
        std::filesystem::remove(output, ec);
        SubprocessResult r;
        try {
            r = Subprocess::run(
                {soffice->string(), "-env:UserInstallation=file://" + profile.string(), "--headless",
                 "--invisible", "--nologo", "--norestore", "--nodefault", "--nolockcheck", "--convert-to",
                 convertTo, "--outdir", outDir.string(), input.string()},
                {.environment = {"FONTCONFIG_FILE=" + fontsConf.string(), "SAL_USE_VCLPLUGIN=svp",
                                 "HOME=" + options.workDir.string(),
                                 // its temporary files (copies of embedded media among them) stay in
                                 // the scratch folder, which goes however the render ends
                                 "TMPDIR=" + options.workDir.string()},
                 .timeout = options.timeout,
                 .cancel = options.cancel});
        } catch (const LaunchError& e) {
            throw RenderError(RenderError::Case::missingTool, kStage,
                              std::string(kStage) + ": " + e.what() +
                                  ". Reinstall LibreOffice (Debian package libreoffice-impress-nogui).",
                              e.cause(), e.errnoValue());
        }
        std::filesystem::remove_all(profile, ec);
        if (r.cancelled) throw CancelledError();
        if (r.timedOut) {
            lastError = "LibreOffice did not finish within " +
                        std::to_string(options.timeout.count() / 1000) + " s";
            continue;  // a hang: once more with a fresh profile
        }
        if (std::filesystem::is_regular_file(output, ec) && std::filesystem::file_size(output, ec) > 0) {
            return output;
        }
        std::string detail = RenderTools::tail(r.standardError);
        if (detail.empty()) detail = RenderTools::tail(r.standardOutput);
        throw RenderError(RenderError::Case::toolFailed, kStage,
                          std::string(kStage) + ": soffice (exit status " + std::to_string(r.exitStatus) +
                              ") wrote no " + outputExtension + " for " + input.filename().string() +
                              (detail.empty() ? "" : ": " + detail) +
                              ". Check that the deck opens in LibreOffice Impress.");
    }
    throw RenderError(RenderError::Case::timedOut, kStage,
                      std::string(kStage) + ": " + lastError + " on " + input.filename().string() +
                          ", twice (the second time with a fresh profile). Close other LibreOffice "
                          "windows and try again, or pass a movie you rendered yourself with --mp4.");
}

}  // namespace orvandel::LibreOffice
