#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "DeckBuilder.hpp"
#include "TestSupport.hpp"
#include "TimingFixtures.hpp"

using namespace orvandel;
using namespace orvandel::test;
using Json = nlohmann::json;

// The plan of a deck: 1 fades in by itself (not drawn: nothing comes before
// it), 2 is hidden, 3 is covered from the right with a sound and builds a
// bullet, 4 holds a video of unknown length. Each run gets a private TMPDIR,
// which must be empty afterwards, whether the plan was made or refused.
TEST(PlanCommandTest, TransitionsStatesAndNothingLeftBehind) {
    TempDir dir;
    const auto tmp = dir / "tmp";
    std::filesystem::create_directories(tmp);
    const auto deck =
        DeckBuilder()
            .addSlide(slideXml("", "<p:transition><p:fade/></p:transition>"))
            .addSlide(slideXml("", "", "show=\"0\""))
            .addSlide(slideXml(kTextBox, R"(<p:transition spd="slow"><p:cover dir="l"/><p:sndAc><p:stSnd>)"
                                         R"(<p:snd r:embed="rId9" name="sino &amp; vento.wav"/></p:stSnd></p:sndAc>)"
                                         "</p:transition>" +
                                             timing(step(anim("clickEffect", "500", "entr")))))
            .addSlide(slideXml(kVideo, timing(step(mediaCall("clickEffect", "x")))))
            .write(dir / "aula.pptx")
            .string();
    const auto plan = [&](std::vector<std::string> args) {
        args.insert(args.begin(), {"plan", deck});
        return runCli(args, {.environment = {"TMPDIR=" + tmp.string()}});
    };

    const auto refused = plan({});
    EXPECT_EQ(refused.exitStatus, 1);
    EXPECT_TRUE(std::filesystem::is_empty(tmp));

    const auto json = plan({"--json", "--video", "4:2000"});
    ASSERT_EQ(json.exitStatus, 0) << json.standardError;
    EXPECT_TRUE(std::filesystem::is_empty(tmp));
    const Json slides = Json::parse(json.standardOutput)["slides"];
    ASSERT_EQ(slides.size(), 3u);
    EXPECT_EQ(slides[0]["transition"]["presetClass"], "p:fade");
    EXPECT_EQ(slides[0]["transition"]["drawn"], false);
    const Json cover = slides[1]["transition"];
    EXPECT_EQ(slides[1]["slide"], 3);
    EXPECT_EQ(cover["strategy"], "cover from the right");
    EXPECT_EQ(cover["layer"], "incoming");
    EXPECT_EQ(cover["durationMs"], 1000);
    EXPECT_EQ(cover["drawn"], true);
    EXPECT_EQ(cover["sound"]["name"], "sino & vento.wav");
    EXPECT_EQ(cover["behaviours"][0]["keys"], Json({"1+#ppt_w/2", "#ppt_x"}));
    ASSERT_EQ(slides[1]["states"].size(), 2u);
    EXPECT_EQ(slides[1]["states"][0]["hidden"], Json::parse(R"([{"shape":"2","paragraph":null,"graphic":null}])"));
    EXPECT_GT(slides[1]["states"][1]["startMs"], 0);
    EXPECT_TRUE(slides[2]["transition"].is_null());

    const auto text = plan({"--video", "4:2000"});
    ASSERT_EQ(text.exitStatus, 0) << text.standardError;
    EXPECT_NE(text.standardOutput.find(
                  "transition: p:cover as cover from the right, 1000 ms, sound \"sino & vento.wav\""),
              std::string::npos)
        << text.standardOutput;
    EXPECT_NE(text.standardOutput.find("not drawn: nothing comes before it"), std::string::npos);
    EXPECT_EQ(plan({"--gif", "9:100"}).exitStatus, 2);
}
