#include <cstdio>
#include <string>

#include <gtest/gtest.h>
#include <sys/wait.h>

#include "linux/TemporaryFolder.h"

// The tool is run as a user runs it.

namespace sorn::campaign {
namespace {

struct Outcome {
  int status = -1;
  std::string output;  // standard output
  std::string errors;  // standard error
};

class CampaignProgram : public ::testing::Test {
 protected:
  Outcome shell(const std::string& command) const {
    Outcome run;
    const std::string line = "cd '" + folder_.path().string() + "' && { " + command + "; } 2>errors";
    std::FILE* pipe = ::popen(line.c_str(), "r");
    if (!pipe) return run;
    char piece[4096];
    while (const std::size_t count = std::fread(piece, 1, sizeof piece, pipe)) {
      run.output.append(piece, count);
    }
    const int status = ::pclose(pipe);
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    run.errors = folder_.read("errors");
    return run;
  }
  Outcome tool(const std::string& arguments) const { return shell(SORN_CAMPAIGN_TOOL " " + arguments); }

  const testing::TemporaryFolder folder_;
};

TEST_F(CampaignProgram, ExamplesAreClean) {
  const Outcome run = tool("validate '" SORN_EXAMPLE_CAMPAIGNS "'/*.json");
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output + run.errors, "");
}

TEST_F(CampaignProgram, TheStatusTellsFaultsFromNotes) {
  const std::string example = folder_.read(SORN_EXAMPLE_CAMPAIGNS "/welcome-dialog.json");
  ASSERT_FALSE(example.empty());
  std::string note = example;
  note.replace(note.find("\"ios\": 1"), 8, "\"ios\": 2");
  folder_.write("note.json", note);
  folder_.write("bad.json", "[\n  {\"id\": 1, \"content\": []}\n]");
  folder_.write("broken.json", "[\n{]");
  const std::string noteLine =
      "note.json:4:39: [0].version.ios: never selected: version 2 is above this engine's 1\n";
  const Outcome noted = tool("validate note.json");
  EXPECT_EQ(noted.status, 0);
  EXPECT_EQ(noted.output, noteLine);
  const Outcome run = tool("validate bad.json ./note.json broken.json");
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.output,
            "bad.json:2:3: [0].version: required key is missing\n"
            "bad.json:2:3: [0].audience: required key is missing\n"
            "bad.json:2:3: [0].content_metadata: required key is missing\n"
            "bad.json:2:3: [0].trigger: never selected: there is no trigger\n"
            "bad.json:2:10: [0].id: expected a text, found a number\n"
            "bad.json:2:24: [0].content: expected an object, found a list\n"
            "./" +
                noteLine + "broken.json:2:2: $: expected a key in quotes\n");
  EXPECT_EQ(run.errors, "");
}

TEST_F(CampaignProgram, AFileThatCannotBeReadIsAFailureAndTheOthersAreStillChecked) {
  folder_.write("bad.json", "[7]");
  const Outcome run = tool("validate absent.json . bad.json");
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.output, "bad.json:1:2: [0]: expected an object, found a number\n");
  EXPECT_EQ(run.errors,
            "sorn-campaign: absent.json: No such file or directory\n"
            "sorn-campaign: .: Is a directory\n");
}

TEST_F(CampaignProgram, BadUsageIsTold) {
  const std::string usage = "usage: sorn-campaign validate FILE...\n       sorn-campaign ";
  const std::pair<const char*, const char*> cases[] = {
      {"", ""},
      {"validate", ""},
      {"validate --all x.json", "sorn-campaign: unknown option --all\n"},
      {"schema x.json", ""},
      {"check x.json", "sorn-campaign: unknown subcommand check\n"}};
  for (const auto& [arguments, reason] : cases) {
    const Outcome run = tool(arguments);
    EXPECT_EQ(run.status, 2) << arguments;
    EXPECT_EQ(run.output, "") << arguments;
    EXPECT_TRUE(run.errors.starts_with(reason + usage)) << run.errors;
  }
  const Outcome help = tool("--help");
  EXPECT_EQ(help.status, 0);
  EXPECT_TRUE(help.output.starts_with(usage)) << help.output;
}

TEST_F(CampaignProgram, TheSchemaIsReadByOtherPrograms) {
  const Outcome run =
      shell(SORN_CAMPAIGN_TOOL
            " schema | /usr/bin/python3 -c \"import json,sys; s=json.load(sys.stdin);"
            "p=s['\\$defs']['TextData'];"
            "print(s['items']['\\$ref'],p['properties']['softWrap']['type'],p['required'])\"");
  EXPECT_EQ(run.output, "#/$defs/SornInAppCampaign boolean ['text', 'softWrap']\n") << run.errors;
}

TEST_F(CampaignProgram, AFullOutputIsAFailure) {
  const Outcome run = shell(SORN_CAMPAIGN_TOOL " schema >/dev/full");
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors, "sorn-campaign: standard output takes no more\n");
}

}  // namespace
}  // namespace sorn::campaign
