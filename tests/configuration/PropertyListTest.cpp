#include <gtest/gtest.h>
#include <pthread.h>

#include "configuration/PropertyList.h"
#include "fakes/DataFile.h"
#include "fakes/TemporaryFolder.h"
#include "support/Cipher.h"

namespace sorn::tests {

using configuration::parsePropertyList;
using configuration::propertyListText;
using configuration::TextDictionary;

namespace {

std::string xml(const std::string& root) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
         "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n<plist version=\"1.0\">\n" +
         root + "\n</plist>\n";
}

// A number of the binary form: the highest byte first.
std::string number(std::size_t value, int bytes) {
  std::string text;
  while (bytes-- > 0) text += static_cast<char>(value >> (8 * bytes));
  return text;
}

std::string repeated(std::string_view text, std::size_t count) {
  std::string all;
  for (std::size_t i = 0; i < count; ++i) all += text;
  return all;
}

// The binary files are made with Python's plistlib.
const std::string twoTexts = support::hexBytes(
    "62706c6973743030d201020304546d6f64656100e45b646576656c6f706d656e7464d83ddcec00200078080d1215210000000000"
    "00"
    "010100000000000000050000000000000000000000000000002a");

TEST(PropertyList, ReadsTextsAsTheyStand) {
  const TextDictionary expected{
      {"a", "  two\nlines "}, {"b", "<&</plist>\""}, {"c", ""}, {"\u00e4", "\U0001F4EC"}};
  const std::string text =
      xml("<!-- </plist> --><dict><!-- note --><key>a</key><string>  two\nlines </string><key>b</key>"
          "<string>&lt;&amp;<![CDATA[</plist>]]>&#34;</string><key>c</key><string/>"
          "<key>\u00e4</key><string>\U0001F4EC</string></dict>");
  EXPECT_EQ(parsePropertyList("\xEF\xBB\xBF" + text + " \r\n\t"), expected);
  EXPECT_EQ(parsePropertyList(xml("<dict/>")), TextDictionary());
  EXPECT_EQ(parsePropertyList(twoTexts),
            (TextDictionary{{"mode", "development"}, {"\u00e4", "\U0001F4EC x"}}));
}

TEST(PropertyList, RefusesWhatIsNoDictionaryOfTexts) {
  ASSERT_TRUE(
      parsePropertyList("<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>a</key><string>b</string>"
                        "</dict></plist>"));
  auto cases = dataFile("refused.json").get<std::vector<std::string>>();
  cases.push_back(xml("<dict><key>a</key><string>caf\xE9</string></dict>"));
  // A number and an array as values in the binary form.
  cases.push_back(support::hexBytes(
      "62706c6973743030d10102516e1001080b0d000000000000010100000000000000030000000000000000000000"
      "000000000f"));
  cases.push_back(support::hexBytes(
      "62706c6973743030d10102516ea1035161080b0d0f000000000000010100000000000000040000000000000000"
      "0000000000000011"));
  for (const std::string& bytes : cases) EXPECT_EQ(parsePropertyList(bytes), std::nullopt) << bytes;
}

// Each cut and each changed byte of a binary file gives an answer or none, never a crash.
TEST(PropertyList, SurvivesDamageToTheBinaryForm) {
  for (std::size_t at = 0; at < twoTexts.size(); ++at) {
    EXPECT_EQ(parsePropertyList(twoTexts.substr(0, at)), std::nullopt) << at;
    for (const int change : {0x01, 0x10, 0x80, 0xFF}) {
      std::string damaged = twoTexts;
      damaged[at] = static_cast<char>(damaged[at] ^ change);
      EXPECT_LE(parsePropertyList(damaged).value_or(TextDictionary()).size(), 2u);
    }
  }
}

// On a thread with the stack of a host that has many: what recurses too deeply ends the test program.
bool isRefusedOnASmallStack(std::string bytes) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, std::size_t{256} * 1024);
  pthread_t thread{};
  const auto run = [](void* text) -> void* {
    const bool isRefused = !parsePropertyList(*static_cast<std::string*>(text));
    return isRefused ? text : nullptr;
  };
  void* result = nullptr;
  if (pthread_create(&thread, &attributes, run, &bytes) == 0) pthread_join(thread, &result);
  pthread_attr_destroy(&attributes);
  return result != nullptr;
}

TEST(PropertyList, RefusesDepthThatWouldExhaustTheStack) {
  const std::size_t depth = 70000;
  EXPECT_TRUE(isRefusedOnASmallStack(xml(repeated("<array>", depth) + repeated("</array>", depth))));
  EXPECT_TRUE(isRefusedOnASmallStack(xml(repeated("<array>", 120000))));
  // Arrays of one reference each to the next, 20,000 deep, in the binary form.
  std::string binary = "bplist00";
  std::string table;
  for (std::size_t i = 0; i < 20000; ++i) {
    table += number(binary.size(), 4);
    binary += '\xA1' + number(i + 1, 2);
  }
  table += number(binary.size(), 4);
  binary += '\xA0';
  const std::size_t tableAt = binary.size();
  binary += table + std::string(6, '\0') + "\x04\x02" + number(20001, 8) + number(0, 8) + number(tableAt, 8);
  EXPECT_TRUE(isRefusedOnASmallStack(binary));
}

// One text of 100,000 bytes that a dictionary names 20,000 times: two gigabytes once it is unpacked.
TEST(PropertyList, RefusesAFileThatUnpacksToManyTimesItsSize) {
  const std::size_t entries = 20000;
  std::string binary = "bplist00";
  std::string table = number(binary.size(), 4);
  binary += "\xDF\x11" + number(entries, 2) + std::string(entries, '\1') + std::string(entries, '\1');
  table += number(binary.size(), 4);
  binary += "\x5F\x12" + number(100000, 4) + std::string(100000, 'x');
  const std::size_t tableAt = binary.size();
  binary += table + std::string(6, '\0') + "\x04\x01" + number(2, 8) + number(0, 8) + number(tableAt, 8);
  EXPECT_EQ(parsePropertyList(binary), std::nullopt);
}

TEST(PropertyList, ReadsAFileOfOneMebibyteAndNoneBeyond) {
  const TemporaryFolder folder;
  const std::string frame = xml("<dict><key>a</key><string></string></dict>");
  const std::size_t room = (std::size_t{1} << 20) - frame.size();
  const auto read = [&](std::size_t count) {
    const std::string text = "<dict><key>a</key><string>" + std::string(count, 'x') + "</string></dict>";
    return configuration::readPropertyList(folder.write("a.plist", xml(text)));
  };
  EXPECT_EQ(read(room).value_or(TextDictionary())["a"].size(), room);
  EXPECT_EQ(read(room + 1), std::nullopt);
  EXPECT_EQ(configuration::readPropertyList(folder / "none.plist"), std::nullopt);
  EXPECT_EQ(configuration::readPropertyList(folder.path()), std::nullopt);
  // Many short texts in the binary form are no such file.
  TextDictionary texts;
  for (int number = 0; number < 5000; ++number) {
    texts.emplace("key " + std::to_string(number), "text \u00e4 " + std::to_string(number % 100));
  }
  EXPECT_EQ(parsePropertyList(propertyListText(texts, configuration::PropertyListForm::binary)), texts);
}

}  // namespace
}  // namespace sorn::tests
