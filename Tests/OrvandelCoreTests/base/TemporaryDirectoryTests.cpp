#include <gtest/gtest.h>

#include <set>
#include <tuple>

#include "TestSupport.hpp"
#include "base/Bytes.hpp"
#include "base/Subprocess.hpp"
#include "base/TemporaryDirectory.hpp"

using namespace orvandel;
namespace fs = std::filesystem;

namespace {

// The folder a helper process made and left when it ended.
fs::path leftBehind(const fs::path& parent, const std::string& prefix) {
    const auto out =
        Subprocess::run({test::helperPath().string(), "leave-folder", parent.string(), prefix}).standardOutput;
    return out.substr(0, out.find('\n'));
}

// A copy of `folder` whose owner record has field `field` (from 0) set to
// `value`, or, for -1, lacks the end of its line.
void copyWithRecordField(const fs::path& folder, const fs::path& copy, int field, const std::string& value) {
    fs::create_directory(copy);
    std::string record = toString(readFile(folder / TemporaryDirectory::kOwnerRecord));
    std::size_t from = 0;
    for (int i = 0; i < field; ++i) from = record.find(' ', from) + 1;
    if (field < 0) record.pop_back();
    else record.replace(from, record.find_first_of(" \n", from) - from, value);
    writeFile(copy / TemporaryDirectory::kOwnerRecord, record);
}

}  // namespace

TEST(TemporaryDirectoryTest, MakingOneRemovesOnlyTheFoldersOfEndedRuns) {
    test::TempDir dir;
    const TemporaryDirectory live(dir.path(), "run-");
    const auto ended = leftBehind(dir.path(), "run-");
    const auto otherPrefix = leftBehind(dir.path(), "other-");
    ASSERT_TRUE(fs::is_directory(ended));
    fs::create_directory(dir / "run-without-record");
    writeFile(dir / "run-a-file", std::string("x"));
    fs::create_directory(dir / "elsewhere");
    fs::create_directory_symlink(leftBehind(dir / "elsewhere", "run-"), dir / "run-link");
    // Records of the live run and of the ended one, each with one field changed; whether it is removed.
    const std::vector<std::tuple<std::string, fs::path, int, std::string, bool>> forged{
        {"run-pid-reused", live.path(), 1, "1", true},  // a live pid, another start time
        {"run-before-reboot", live.path(), 2, "another-boot", true},
        {"run-other-host", ended, 4, "another-host", false},
        {"run-other-container", ended, 3, "1", false},  // another pid namespace
        {"run-half-written", ended, -1, "", false},
        {"run-bad-pid", ended, 0, "../1", false},
    };
    for (const auto& [name, from, field, value, removed] : forged) copyWithRecordField(from, dir / name, field, value);

    const TemporaryDirectory next(dir.path(), "run-");

    std::set<std::string> expected{live.path().filename(),
                                   next.path().filename(),
                                   otherPrefix.filename(),
                                   "run-without-record",
                                   "run-a-file",
                                   "elsewhere",
                                   "run-link"};
    for (const auto& [name, from, field, value, removed] : forged) {
        if (!removed) expected.insert(name);
    }
    std::set<std::string> left;
    for (const auto& e : fs::directory_iterator(dir.path())) left.insert(e.path().filename());
    EXPECT_EQ(left, expected);
    EXPECT_TRUE(fs::is_directory(dir / "run-link")) << "the link's target is not ours to remove";
}
