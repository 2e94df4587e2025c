#include <gtest/gtest.h>

#include <sys/stat.h>

#include <tuple>

#include "TestSupport.hpp"
#include "base/Bytes.hpp"
#include "deck/DeckLinks.hpp"

using namespace orvandel;
using namespace orvandel::test;
namespace fs = std::filesystem;
using DeckLinks::Refusal;

TEST(DeckLinksTest, ATargetIsANetworkLinkOrALocalFileCountedFromTheDecksFolder) {
    const fs::path folder = "/decks/aula";
    const DeckLinks::Target network{true, {}};
    const auto local = [](const char* path) { return DeckLinks::Target{false, path}; };
    const std::vector<std::pair<std::string, DeckLinks::Target>> cases{
        {" HTTPS://example.org/v.mp4", network},
        {"vnd.sun.star.webdav://host/a.png", network},
        {"\\\\host\\share\\a.png", network},
        {"%5C%5Chost%5Cshare%5Ca.png", network},
        {"file://server/share/a.png", network},
        {"file://\\\\server\\share\\a.png", network},
        {"file://localhost/srv/a.png", local("/srv/a.png")},
        {"file:///srv/my%20clip.mp4", local("/srv/my clip.mp4")},
        {"file:///C:\\Users\\Ugur%20Sak\\a.wav", local("/C:/Users/Ugur Sak/a.wav")},
        {"C:\\fotos\\a.png", local("/decks/aula/C:/fotos/a.png")},
        {"media\\..\\..\\..\\etc\\passwd", local("/etc/passwd")},
        {"%2e%2e/a.png", local("/decks/a.png")},
        {"a%zz%2.png", local("/decks/aula/a%zz%2.png")},
    };
    for (const auto& [target, expected] : cases) EXPECT_EQ(DeckLinks::classify(target, folder), expected) << target;
}

TEST(DeckLinksTest, OnlyARegularFileInsideTheFolderTreeIsReadUnlessOutsideIsAllowed) {
    TempDir dir;
    const fs::path deck = fs::canonical(dir.path()) / "aula", outside = fs::canonical(dir.path()) / "fora";
    fs::create_directories(deck / "sub");
    fs::create_directories(outside);
    writeFile(deck / "a b.png", std::string("inside"));
    writeFile(deck / "sub" / "inner.png", std::string("inner"));
    writeFile(outside / "secret.png", std::string("secret"));
    fs::create_symlink("sub/inner.png", deck / "link-in");
    fs::create_symlink("../fora/secret.png", deck / "link-out");
    fs::create_symlink(deck, dir / "atalho");
    ASSERT_EQ(::mkfifo((deck / "fifo").c_str(), 0600), 0);

    using Result = std::variant<fs::path, Refusal>;
    const Result outsideRefused = Refusal::outsideFolder;
    for (const auto& [target, confined, allowed] : std::vector<std::tuple<std::string, Result, Result>>{
             {"a%20b.png", deck / "a b.png", deck / "a b.png"},
             {"link-in", deck / "sub/inner.png", deck / "sub/inner.png"},
             {(dir / "atalho/a b.png").string(), deck / "a b.png", deck / "a b.png"},
             {"link-out", outsideRefused, outside / "secret.png"},
             {"../fora/secret.png", outsideRefused, outside / "secret.png"},
             {"/dev/zero", outsideRefused, Refusal::notRegularFile},
             {"fifo", Refusal::notRegularFile, Refusal::notRegularFile},
             {"missing.png", Refusal::missing, Refusal::missing},
             {"a%00b.png", Refusal::missing, Refusal::missing},
             {"", Refusal::missing, Refusal::missing},
             {"http://127.0.0.1:9/a.png", Refusal::networkLink, Refusal::networkLink}}) {
        EXPECT_EQ(DeckLinks::check(target, {dir / "atalho", false}), confined) << target;
        EXPECT_EQ(DeckLinks::check(target, {deck, true}), allowed) << target;
    }

    // Opened without waiting for a writer, and taken only whole and within bounds.
    EXPECT_EQ(std::get<Refusal>(DeckLinks::read(deck / "fifo", 100)), Refusal::notRegularFile);
    EXPECT_EQ(std::get<Refusal>(DeckLinks::read(deck / "link-in", 100)), Refusal::unreadable);
    EXPECT_EQ(std::get<Refusal>(DeckLinks::read(deck / "a b.png", 5)), Refusal::tooLarge);
    EXPECT_EQ(toString(std::get<Bytes>(DeckLinks::read(deck / "a b.png", 6))), "inside");
    EXPECT_EQ(DeckLinks::copy(outside / "secret.png", dir / "copy", 6), std::nullopt);
    EXPECT_EQ(toString(readFile(dir / "copy")), "secret");
}

TEST(DeckLinksTest, EachSlideWarnsOnceNamingItsFirstLinkNotFollowed) {
    const std::string longName = "x\x1b[2J" + std::string(200, 'a');
    const auto warnings = DeckLinks::warnings({{3, "picture", "../fora/a.png", Refusal::outsideFolder},
                                               {1, "video", longName, Refusal::notRegularFile},
                                               {3, "video", "http://h/v.mp4", Refusal::networkLink},
                                               {3, "audio clip", "b.wav", Refusal::missing}});
    ASSERT_EQ(warnings.size(), 2u);
    EXPECT_EQ(warnings[0].text, "slide 1: the linked video \"x?[2J" + std::string(95, 'a') +
                                    "...\" is not a regular file and was not read");
    EXPECT_EQ(warnings[0].detail, longName);
    EXPECT_EQ(warnings[1].text,
              "slide 3: the linked picture \"../fora/a.png\" is outside the deck's folder and was not read; 2 more "
              "links on this slide were not followed either");
    EXPECT_EQ(std::tie(warnings[1].kind, warnings[1].slide), std::make_tuple(Warning::Kind::linkNotFollowed, 3));
}
