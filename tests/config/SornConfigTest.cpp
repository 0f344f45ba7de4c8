#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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
  const char* cases[] = {
      "",
      "--key k --secret s --mode production --environment https://a",
      "--key k --secret s --mode Production --environment https://a --out x",
      "--key k --secret s --mode production --environment api.example --out x",
      "--key '  ' --secret s --mode production --environment https://a --out x",
      "--key k --key k --secret s --mode production --environment https://a --out x",
      "--key k --secret s --mode production --environment https://a --out x --colour",
      "--key k --secret s --mode production --environment https://a --out",
      "--key \"$(printf '\\377')\" --secret s --mode production --environment https://a --out x",
      "--key \"$(printf '\\302\\240')\" --secret s --mode production --environment https://a --out x",
      "--key \"$(printf '\\342\\200\\213')\" --secret s --mode production --environment https://a --out x",
      "--key \"$(printf 'k\\r')\" --secret s --mode production --environment https://a --out x",
      "--key k --secret \"$(printf 's\\177')\" --mode production --environment https://a --out x",
      "--key k --secret s --mode production --environment 'https://a b' --out x",
      "--key k --secret s --mode production --environment http://\u00fc.example --out x",
      "--key k --secret s --mode production --environment https:// --out x",
      "--key k --secret s --mode production --environment https://a:65536 --out x",
      "--show",
      "--show x --binary",
      "x",
  };
  for (const char* arguments : cases) {
    const Outcome run = tool(arguments);
    EXPECT_EQ(run.status, 2) << arguments;
    EXPECT_EQ(run.output, "") << arguments;
    EXPECT_THAT(run.errors, ::testing::HasSubstr("usage: sorn-config")) << arguments;
    EXPECT_FALSE(std::filesystem::exists(folder_ / "x")) << arguments;
  }
  EXPECT_EQ(tool("--help").status, 0);
}

TEST_F(SornConfig, FailsWithStatusOneAndLeavesOldFilesAlone) {
  const std::string account = "--key k --secret s --mode production --environment https://a --out ";
  folder_.write("old/file", "old");
  for (const char* out : {"none/x", "old/file/x", "old", "/dev/null"}) {
    const Outcome run = tool(account + out);
    EXPECT_EQ(run.status, 1) << out;
    EXPECT_THAT(run.errors, ::testing::StartsWith("sorn-config: " + std::string(out) + ": ")) << out;
  }
  EXPECT_EQ(folder_.read("old/file"), "old");
  const std::pair<const char*, const char*> unreadable[] = {
      {"", "property list"},
      {"<plist><dict><key>application_key</key><string>AAAA</string></dict></plist>", "can't be deciphered"},
      {"<plist><dict><key>application_key</key><string>!</string></dict></plist>", "can't be deciphered"},
      {"<plist><dict><key>mode</key><string>x</string></dict></plist>", "\"application_key\" is missing"},
      {"<plist><dict><key>mode</key><integer>1</integer></dict></plist>", "property list"},
  };
  for (const auto& [text, reason] : unreadable) {
    folder_.write("bad.plist", text);
    const Outcome run = tool("--show bad.plist");
    EXPECT_EQ(run.status, 1) << text;
    EXPECT_EQ(run.output, "") << text;
    EXPECT_THAT(run.errors, ::testing::HasSubstr(reason)) << text;
  }
  EXPECT_EQ(tool("--show none.plist").status, 1);
}

// Files that are whole, but with which a library would not start or reach nobody. The enciphered texts:
// printf TEXT | openssl enc -des-ede3-cbc -iv 3A5C09E7B1D264F0 -K <the key three times> | base64
TEST_F(SornConfig, ShowsOnlyWhatTheLibraryCouldUse) {
  struct Case {
    const char* key;
    const char* secret;
    const char* mode;
    const char* environment;
    const char* reason;
  };
  constexpr const char* text = "257BV0YPDPqgevd3LQZ/RQ==";
  constexpr const char* origin = "PgDSTOKepnRK25YAAAuk36kiwC5+jsRM";
  const Case cases[] = {
      {text, text, "production", origin, ""},
      {"BvezhuTHcGY=", text, "production", origin, "the key is missing or blank"},
      {text, "VN66Yu517VM=", "production", origin, "the secret is missing or blank"},
      {"klsXLnQSL9o=", text, "production", origin, "the key holds a control character"},
      {text, text, "Production", origin, "the mode must be development or production"},
      {text, text, "production", "UZEJmSQhdhKde+PagDZqvg==", "the environment must be a web address"},
      {text, text, "production", "gnN4FSvKTq0=", "the environment must be a web address"},
  };
  for (const auto& [key, secret, mode, environment, reason] : cases) {
    folder_.write("a.plist", std::string("<plist><dict><key>application_key</key><string>") + key +
                                 "</string><key>application_secret</key><string>" + secret +
                                 "</string><key>mode</key><string>" + mode +
                                 "</string><key>environment</key><string>" + environment +
                                 "</string></dict></plist>");
    const Outcome run = tool("--show a.plist");
    EXPECT_EQ(run.status, *reason ? 1 : 0) << reason;
    EXPECT_EQ(run.output.empty(), *reason != '\0') << reason;
    EXPECT_THAT(run.errors, ::testing::HasSubstr(reason));
  }
}

}  // namespace
}  // namespace sorn::tests
