#include <string>
#include <utility>

#include "fakes/ToolTest.h"

namespace sorn::tool {
namespace {

using CampaignProgram = tests::ToolTest;

TEST_F(CampaignProgram, ExamplesAreClean) {
  const Outcome run = tool("validate '" SORN_EXAMPLE_CAMPAIGNS "'/*.json");
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output + run.errors, "");
}

TEST_F(CampaignProgram, TheStatusTellsFaultsFromNotesAndEachFileIsChecked) {
  std::string note = folder_.read(SORN_EXAMPLE_CAMPAIGNS "/welcome-dialog.json");
  note.replace(note.find("\"ios\": 1"), 8, "\"ios\": 2");
  folder_.write("note.json", note);
  folder_.write("bad.json", "[\n  {\"id\": 1, \"content\": []}\n]");
  folder_.write("broken.json", "[\n{]");
  const std::string noteLine =
      "note.json:4:39: [0].version.ios: never selected: version 2 is above this engine's 1\n";
  const Outcome noted = tool("validate note.json");
  EXPECT_EQ(noted.status, 0);
  EXPECT_EQ(noted.output, noteLine);
  const Outcome run = tool("validate absent.json . bad.json ./note.json broken.json");
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
  EXPECT_EQ(run.errors,
            "sorn-campaign: absent.json: No such file or directory\n"
            "sorn-campaign: .: Is a directory\n");
  EXPECT_EQ(tool("validate bad.json").status, 1);
  EXPECT_EQ(tool("validate absent.json note.json").status, 1);
}

TEST_F(CampaignProgram, BadUsageIsTold) {
  const std::string usage = "usage: sorn-campaign validate FILE...\n       sorn-campaign ";
  const std::pair<const char*, std::string> cases[] = {
      {"", ""},
      {"validate", ""},
      {"validate --all x.json", "unknown option --all"},
      {"schema x.json", ""},
      {"check x.json", "unknown subcommand check"},
      {"explain --event e", "no file is named"},
      {"explain x.json", "either --event or --trigger is wanted"},
      {"explain x.json --event e --trigger {}", "either --event or --trigger is wanted"},
      {"explain x.json --trigger {} --info {}", "--info goes with --event"},
      {"explain x.json y.json --event e", "one file, please"},
      {"explain x.json --event", "--event needs a value"},
      {"explain x.json --event e --colour red", "unknown option --colour"},
      {"explain x.json --event e --now noon", "no value for --now: noon"},
      {"explain x.json --event e --now 1x", "no value for --now: 1x"},
      {"explain x.json --event e --settings 1.5", "no value for --settings: 1.5"},
      {"explain x.json --event e --state []", "no value for --state: []"},
      {"explain x.json --event e --info {", "no value for --info: {"},
      {"explain x.json --trigger '\"gold\"'", "no value for --trigger: \"gold\""}};
  for (const auto& [arguments, reason] : cases) {
    const Outcome run = tool(arguments);
    EXPECT_EQ(run.status, 2) << arguments;
    EXPECT_EQ(run.output, "") << arguments;
    const std::string told = reason.empty() ? "" : "sorn-campaign: " + reason + "\n";
    EXPECT_TRUE(run.errors.starts_with(told + usage)) << run.errors;
  }
  const Outcome help = tool("--help");
  EXPECT_EQ(help.status, 0);
  EXPECT_TRUE(help.output.starts_with(usage)) << help.output;
}

TEST_F(CampaignProgram, TheSchemaIsReadByOtherPrograms) {
  const Outcome run =
      shell(SORN_TOOL
            " schema | /usr/bin/python3 -c \"import json,sys; s=json.load(sys.stdin);"
            "p=s['\\$defs']['TextData'];"
            "print(s['items']['\\$ref'],p['properties']['softWrap']['type'],p['required'])\"");
  EXPECT_EQ(run.output, "#/$defs/SornInAppCampaign boolean ['text', 'softWrap']\n") << run.errors;
}

TEST_F(CampaignProgram, AFullOutputIsAFailure) {
  const Outcome run = shell(SORN_TOOL " schema >/dev/full");
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors, "sorn-campaign: standard output takes no more\n");
}

}  // namespace
}  // namespace sorn::tool
