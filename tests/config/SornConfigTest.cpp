#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes/DataFile.h"
#include "fakes/ToolTest.h"

// The tool is run as a user runs it, and what it writes is read by other programs: `openssl` deciphers
// (triple DES with one key three times is DES), Python's plistlib reads the property list.

namespace sorn::tests {
namespace {

class SornConfig : public tests::ToolTest {
 protected:
  // The value of one key as Python reads it.
  std::string entry(const std::string& file, const std::string& key) const {
    return shell("/usr/bin/python3 -c \"import plistlib;print(plistlib.load(open('" + file + "','rb'))['" +
                 key + "'],end='')\"")
        .output;
  }
  std::string deciphered(const std::string& text) const {
    folder_.write("cipher", text);
    return shell(
               "openssl base64 -d -A -in cipher | openssl enc -d -des-ede3-cbc -iv 3A5C09E7B1D264F0 "
               "-K C7F2A91E04D3B868C7F2A91E04D3B868C7F2A91E04D3B868")
        .output;
  }
};

TEST_F(SornConfig, WritesWhatOtherProgramsRead) {
  const std::pair<std::string, std::string> forms[] = {{"production", ""}, {"development", " --binary"}};
  for (const auto& [mode, form] : forms) {
    std::string command =
        "--key 'k\u00e9y 1' --secret s3cret --environment https://api.example --out out.plist";
    command.append(" --mode ").append(mode).append(form);
    const Outcome run = tool(command);
    ASSERT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(run.output + run.errors, "");
    EXPECT_EQ(folder_.read("out.plist").starts_with("bplist00"), !form.empty());
    EXPECT_EQ(entry("out.plist", "mode"), mode);
    EXPECT_EQ(deciphered(entry("out.plist", "application_key")), "k\u00e9y 1");
    EXPECT_EQ(deciphered(entry("out.plist", "application_secret")), "s3cret");
    EXPECT_EQ(deciphered(entry("out.plist", "environment")), "https://api.example");
    EXPECT_EQ(modeOf(folder_ / "out.plist"), "0644");
    EXPECT_EQ(tool("--show out.plist").output,
              "{\"environment\":\"https:\\/\\/api.example\",\"key\":\"k\u00e9y 1\",\"mode\":\"" + mode +
                  "\",\"secret\":\"s3cret\"}\n");
  }
}

TEST_F(SornConfig, RefusesBadUsageWithStatusTwoAndWritesNothing) {
  for (const std::string arguments : dataFile("refused.json")) {
    const Outcome run = tool(arguments);
    EXPECT_EQ(run.status, 2) << arguments;
    EXPECT_EQ(run.output, "") << arguments;
    EXPECT_THAT(run.errors, ::testing::HasSubstr("usage: sorn-config")) << arguments;
    EXPECT_FALSE(std::filesystem::exists(folder_ / "x")) << arguments;
  }
}

TEST_F(SornConfig, FailsWithStatusOneAndLeavesOldFilesAlone) {
  folder_.write("old/file", "old");
  for (const char* out : {"none/x", "old/file/x", "old", "/dev/null"}) {
    const Outcome run =
        tool("--key k --secret s --mode production --environment https://a --out " + std::string(out));
    EXPECT_EQ(run.status, 1) << out;
    EXPECT_THAT(run.errors, ::testing::StartsWith("sorn-config: " + std::string(out) + ": ")) << out;
  }
  EXPECT_EQ(folder_.read("old/file"), "old");
  EXPECT_EQ(tool("--show none.plist").status, 1);
}

TEST_F(SornConfig, ShowsOnlyWhatTheLibraryCouldUse) {
  constexpr const char* keys[] = {"application_key", "application_secret", "mode", "environment"};
  for (const auto& row : dataFile("shown.json")) {
    std::string text = "<plist><dict>";
    for (std::size_t i = 0; i < std::size(keys); ++i) {
      if (row[i].is_null()) continue;
      text.append("<key>").append(keys[i]).append("</key>");
      text +=
          row[i].is_string() ? "<string>" + row[i].get<std::string>() + "</string>" : "<integer>1</integer>";
    }
    folder_.write("a.plist", text + "</dict></plist>");
    const Outcome run = tool("--show a.plist");
    const bool isShown = row[4] == "";
    EXPECT_EQ(run.status, isShown ? 0 : 1) << row;
    EXPECT_EQ(run.output.empty(), !isShown) << row;
    EXPECT_THAT(run.errors, ::testing::HasSubstr(row[4].get<std::string>()));
  }
}

}  // namespace
}  // namespace sorn::tests
