#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "draw/GoldenPictures.h"
#include "draw/Pixels.h"
#include "fakes/ChildProcess.h"
#include "fakes/ToolTest.h"
#include "http/ScriptedServer.h"

namespace sorn::tool {
namespace {

std::string document(const std::string& content) {
  return R"([{"id":"a","version":{"android":1,"ios":1},"audience":"all","content":)" + content +
         R"(,"content_metadata":{"type":"dialog","background_color":"#00000080",)"
         R"("show_close_button":false,"dismissable_on_tap":true}}])";
}

std::string image(const std::string& url) {
  return R"({"viewType":"image","imageData":{"url":")" + url +
         R"(","contentMode":"crop"},"width":-1,"height":40,"children":[]})";
}

std::string colored(const std::string& color) {
  return R"({"viewType":"column","background":{"backgroundType":"color","color":")" + color +
         R"("},"width":-1,"height":40,"children":[]})";
}

class Render : public tests::ToolTest {
 protected:
  // Fontconfig keeps what it has read of the system's fonts until the process ends.
  static void SetUpTestSuite() {
    ::setenv("LSAN_OPTIONS", "print_suppressions=0:suppressions=" SORN_LEAK_SUPPRESSIONS, 1);
  }

  // Draws the only campaign of the list into a.png.
  void render(const std::string& list, const std::string& options) const {
    folder_.write("a.json", list);
    const Outcome run = tool("render a.json --out a.png " + options);
    ASSERT_EQ(run.status, 0) << run.errors;
  }

  // The pixel as 0xAARRGGBB, and 0 where there is none.
  std::uint32_t pixel(int x, int y) const { return draw::readPicture(folder_ / "a.png").at(x, y); }
};

TEST_F(Render, LayoutTellsEachNodesFrame) {
  folder_.write("a.json",
                document(R"({"viewType":"column","padding":[1,2,3,4],"children":[)"
                         R"({"viewType":"text","textData":{"text":"ab cd","softWrap":true},"children":[]},)"
                         R"({"viewType":"image","children":[]},)"
                         R"({"viewType":"image","imageData":{"url":"a"},"children":[]}]})"));
  const Outcome run = tool("layout a.json --size 100x201 --metric fixed:10x20.5 --image 30x40");
  ASSERT_EQ(run.status, 0) << run.errors;
  EXPECT_EQ(run.output,
            "[{\"path\":\"content\",\"x\":1,\"y\":2,\"width\":96,\"height\":195},"
            "{\"path\":\"content.children[0]\",\"x\":1,\"y\":2,\"width\":50,\"height\":21},"
            "{\"path\":\"content.children[2]\",\"x\":1,\"y\":23,\"width\":96,\"height\":174}]\n");
}

TEST_F(Render, APictureHasTheSizeAndTheColoursOfTheCampaign) {
  render(document(colored("#FF0000")), "--size 200x100 --scale 2");
  EXPECT_EQ(pixel(200, 100), 0xFFFF0000);
  EXPECT_EQ(pixel(399, 199), 0xFF7F7F7F);  // the backdrop over white
  EXPECT_EQ(pixel(400, 100), 0U);
  EXPECT_EQ(pixel(200, 200), 0U);
}

TEST_F(Render, PicturesComeFromTheNetworkAndFromFiles) {
  draw::writePng({2, 2, {0xFF00FF00, 0xFF00FF00, 0xFF00FF00, 0xFF00FF00}}, (folder_ / "green.png").string());
  const std::string bytes = folder_.read("green.png");
  tests::ScriptedServer server([&](const tests::Request& request, tests::Connection& connection) {
    // The status is not looked at.
    connection.answer(request.target == "/green.png" ? "404 Not Found" : "200 OK",
                      request.target == "/green.png" ? bytes : "<html></html>");
  });
  const std::pair<std::string, bool> cases[] = {
      {server.url("/green.png"), true},
      {"file://" + (folder_ / "green.png").string(), true},
      {server.url("/page.html"), false},
      {"file:///nothing/there.png", false},
      {"no address", false},
  };
  for (const auto& [url, isShown] : cases) {
    render(document(image(url)), "--size 200x100");
    EXPECT_EQ(pixel(100, 50) == 0xFF00FF00, isShown) << url;
  }
}

TEST_F(Render, TheSamplesLookAsTheirPicturesInTheDocumentation) {
  const std::string command = SORN_RENDER_EXAMPLES " " SORN_TOOL " " + folder_.path().string();
  ASSERT_EQ(std::system(command.c_str()), 0);
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(SORN_SAMPLE_PICTURES)) {
    const std::string name = entry.path().filename().string();
    if (name.ends_with(".actual.png")) continue;
    const draw::Pixels pixels = draw::readPicture(folder_ / name);
    EXPECT_EQ(draw::differenceFromGolden(pixels, entry.path()), "") << name;
    ++count;
  }
  EXPECT_GE(count, 9);
}

TEST_F(Render, BadInputIsToldAndLeavesNoPicture) {
  folder_.write("a.json", document(colored("#FF0000")));
  folder_.write("bad.json", "[{}]");
  const std::pair<const char*, int> cases[] = {
      {"render a.json", 2},
      {"render a.json --out a.png --size 200", 2},
      {"render a.json --out a.png --size 200x-1", 2},
      {"render a.json --out a.png --scale 0", 2},
      {"render a.json --out", 2},
      {"render a.json b.json --out a.png", 2},
      {"render a.json --out a.png --colour red", 2},
      {"layout a.json", 2},
      {"layout a.json --size 10x10 --metric fixed:0x20", 2},
      {"render bad.json --out a.png", 1},
      {"render absent.json --out a.png", 1},
      {"render a.json --id b --out a.png", 1},
      {"render a.json --out a.png --size 0x0", 1},
      {"render a.json --out no/such/folder.png", 1},
  };
  for (const auto& [arguments, status] : cases) {
    const Outcome run = tool(arguments);
    EXPECT_EQ(run.status, status) << arguments;
    EXPECT_TRUE(run.errors.starts_with("sorn-campaign: ")) << run.errors;
  }
  EXPECT_EQ(folder_.read("a.png"), "");
}

TEST_F(Render, WatchingDrawsAgainWhenTheFileChanges) {
  const auto file = folder_.write("a.json", document(colored("#FF0000")));
  const std::string out = (folder_ / "a.png").string();
  tests::ChildProcess watching(
      {SORN_TOOL, "render", file.string(), "--out", out, "--size", "200x100", "--watch"});
  ASSERT_EQ(watching.readLine(), out);
  EXPECT_EQ(pixel(100, 50), 0xFFFF0000);
  folder_.write("a.json", "[ a half written file");
  folder_.write("a.json", document(colored("#0000FFFF")));
  ASSERT_EQ(watching.readLine(), out);
  EXPECT_EQ(pixel(100, 50), 0xFF0000FF);
}

}  // namespace
}  // namespace sorn::tool
