#include <gtest/gtest.h>
#include <pthread.h>

#include "configuration/PropertyList.h"
#include "fakes/TemporaryFolder.h"
#include "support/Cipher.h"

namespace sorn::tests {

using configuration::parsePropertyList;
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
  const TextDictionary expected{{"a", "  two\nlines "}, {"b", "<&>\""}, {"c", ""}, {"\u00e4", "\U0001F4EC"}};
  const std::string text =
      xml("<dict><!-- note --><key>a</key><string>  two\nlines </string><key>b</key>"
          "<string>&lt;&amp;<![CDATA[>]]>&#34;</string><key>c</key><string/>"
          "<key>\u00e4</key><string>\U0001F4EC</string></dict>");
  EXPECT_EQ(parsePropertyList(text), expected);
  EXPECT_EQ(parsePropertyList("\xEF\xBB\xBF" + text), expected);
  EXPECT_EQ(parsePropertyList(xml("<dict/>")), TextDictionary());
}

TEST(PropertyList, FindsTheEndOfItsElementWhateverTextsSay) {
  EXPECT_EQ(
      parsePropertyList(
          xml("<!-- </plist> --><dict><key>a</key><string><![CDATA[</plist>]]></string></dict>") + " \r\n\t"),
      (TextDictionary{{"a", "</plist>"}}));
}

TEST(PropertyList, ReadsTheBinaryForm) {
  EXPECT_EQ(parsePropertyList(twoTexts),
            (TextDictionary{{"mode", "development"}, {"\u00e4", "\U0001F4EC x"}}));
  EXPECT_EQ(parsePropertyList(support::hexBytes(
                "62706c6973743030d0080000000000000101000000000000000100000000000000000000000000000009")),
            TextDictionary());
}

TEST(PropertyList, RefusesWhatIsNoDictionaryOfTexts) {
  const std::string whole = xml("<dict><key>a</key><string>b</string></dict>");
  ASSERT_TRUE(parsePropertyList(whole));
  const std::pair<const char*, std::string> cases[] = {
      {"root array", xml("<array><string>a</string></array>")},
      {"root text", xml("<string>a</string>")},
      {"cut", whole.substr(0, whole.find("</string>"))},
      {"nothing", ""},
      {"JSON", "{\"a\":\"b\"}"},
      {"no UTF-8", xml("<dict><key>a</key><string>caf\xE9</string></dict>")},
      {"text behind", whole + "x"},
      {"zero byte behind", whole + std::string(1, '\0')},
      {"two in a row", whole + whole},
      {"no plist element", "<?xml version=\"1.0\"?><dict><key>a</key><string>b</string></dict>"},
      {"plist element that stays open", whole.substr(0, whole.find("</plist>"))},
      {"end in a comment", whole.substr(0, whole.find("</plist>")) + "<!-- </plist> -->"},
      {"binary integer",
       support::hexBytes(
           "62706c6973743030d10102516e1001080b0d000000000000010100000000000000030000000000000000000000"
           "000000000f")},
      {"binary array",
       support::hexBytes(
           "62706c6973743030d10102516ea1035161080b0d0f000000000000010100000000000000040000000000000000"
           "0000000000000011")},
      {"binary head alone", "bplist00"},
  };
  for (const auto& [name, bytes] : cases) EXPECT_EQ(parsePropertyList(bytes), std::nullopt) << name;
  for (const std::string value : {"<integer>1</integer>", "<real>1</real>", "<true/>", "<data>AAAA</data>",
                                  "<date>2020-01-01T00:00:00Z</date>", "<array/>", "<dict/>"}) {
    const std::string text = "<dict><key>a</key><string>b</string><key>n</key>" + value + "</dict>";
    EXPECT_EQ(parsePropertyList(xml(text)), std::nullopt) << value;
  }
}

// Each cut and each changed byte of a binary file gives an answer or none, never a crash.
TEST(PropertyList, SurvivesDamageToTheBinaryForm) {
  for (std::size_t length = 0; length < twoTexts.size(); ++length) {
    EXPECT_EQ(parsePropertyList(twoTexts.substr(0, length)), std::nullopt) << length;
  }
  for (std::size_t at = 8; at < twoTexts.size(); ++at) {
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

TEST(PropertyList, ReadsABinaryFileOfManyShortTexts) {
  TextDictionary texts;
  for (int number = 0; number < 5000; ++number) {
    texts.emplace("key " + std::to_string(number), "text \u00e4 " + std::to_string(number % 100));
  }
  const std::string bytes = configuration::propertyListText(texts, configuration::PropertyListForm::binary);
  EXPECT_GT(bytes.size(), 50000u);
  EXPECT_EQ(parsePropertyList(bytes), texts);
}

TEST(PropertyList, ReadsAFileOfOneMebibyteAndNoneBeyond) {
  const TemporaryFolder folder;
  const std::string frame = xml("<dict><key>a</key><string></string></dict>");
  const std::size_t room = (std::size_t{1} << 20) - frame.size();
  const auto fileWith = [&](std::size_t count) {
    return folder.write("a.plist",
                        xml("<dict><key>a</key><string>" + std::string(count, 'x') + "</string></dict>"));
  };
  const auto texts = configuration::readPropertyList(fileWith(room));
  ASSERT_TRUE(texts);
  EXPECT_EQ(texts->at("a").size(), room);
  EXPECT_EQ(configuration::readPropertyList(fileWith(room + 1)), std::nullopt);
  EXPECT_EQ(configuration::readPropertyList(folder / "none.plist"), std::nullopt);
  EXPECT_EQ(configuration::readPropertyList(folder.path()), std::nullopt);
  EXPECT_EQ(configuration::readPropertyList(folder.write("empty.plist", "")), std::nullopt);
}

}  // namespace
}  // namespace sorn::tests
