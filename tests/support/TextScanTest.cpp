#include <cstring>
#include <random>
#include <string>
#include <string_view>

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include "support/json/TextScan.h"

namespace sorn::support {

namespace {

// A page between two that must not be touched, so that a read outside the text ends the test.
class GuardedPage {
 public:
  GuardedPage() : size_(static_cast<std::size_t>(::sysconf(_SC_PAGESIZE))) {
    void* pages = ::mmap(nullptr, 3 * size_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    pages_ = static_cast<char*>(pages);
    ::mprotect(pages_ + size_, size_, PROT_READ | PROT_WRITE);
  }
  ~GuardedPage() { ::munmap(pages_, 3 * size_); }
  GuardedPage(const GuardedPage&) = delete;
  GuardedPage& operator=(const GuardedPage&) = delete;

  std::string_view atFront(std::string_view text) { return placed(pages_ + size_, text); }
  std::string_view atBack(std::string_view text) { return placed(pages_ + 2 * size_ - text.size(), text); }

 private:
  static std::string_view placed(char* at, std::string_view text) {
    std::memcpy(at, text.data(), text.size());
    return {at, text.size()};
  }

  std::size_t size_;
  char* pages_;
};

bool needsALook(char byte, std::string_view others) {
  const auto code = static_cast<unsigned char>(byte);
  return code < 0x20 || code >= 0x80 || byte == '"' || byte == '\\' ||
         others.find(byte) != std::string_view::npos;
}

std::size_t firstByLoop(std::string_view text, std::string_view others) {
  for (std::size_t index = 0; index < text.size(); ++index) {
    if (needsALook(text[index], others)) return index;
  }
  return text.size();
}

class TextScan : public ::testing::Test {
 protected:
  // Never late, and at most seven bytes early.
  void check(std::string_view content) {
    for (const std::string_view text : {page_.atFront(content), page_.atBack(content)}) {
      checkOne(text, skipPlainText(text.data(), text.data() + text.size()), "");
      checkOne(text, skipPlainText<'/', '\x7F'>(text.data(), text.data() + text.size()), "/\x7F");
    }
  }

 private:
  static void checkOne(std::string_view text, const char* end, std::string_view others) {
    const auto found = static_cast<std::size_t>(end - text.data());
    const std::size_t expected = firstByLoop(text, others);
    ASSERT_LE(found, expected) << "late in " << text;
    ASSERT_LT(expected - found, 8u) << "early in " << text;
  }

  GuardedPage page_;
};

}  // namespace

TEST_F(TextScan, EveryByteAtEveryPlaceOfEveryLength) {
  for (std::size_t length = 0; length <= 34; ++length) {
    check(std::string(length, 'a'));
    for (std::size_t place = 0; place < length; ++place) {
      for (int byte = 0; byte < 256; ++byte) {
        std::string text(length, 'a');
        text[place] = static_cast<char>(byte);
        check(text);
        if (HasFatalFailure()) return;
      }
    }
  }
}

// Bytes that are one apart from those that need a look, where a borrow between the bytes of a word would
// show.
TEST_F(TextScan, NeighboursOfTheBytesInQuestionInAnyMixture) {
  constexpr std::string_view alphabet("\x00\x01\x1F\x20\x21\"#[\\]./0\x7E\x7F\x80\x81\xFF\xA0\xA2", 20);
  std::mt19937 random(20240229);
  std::uniform_int_distribution<std::size_t> lengths(0, 40);
  std::uniform_int_distribution<std::size_t> choice(0, alphabet.size() - 1);
  for (int round = 0; round < 100'000; ++round) {
    std::string text(lengths(random), ' ');
    // Mostly plain bytes, or nearly every text would end in its first word.
    for (char& byte : text) {
      const char chosen = alphabet[choice(random)];
      byte = needsALook(chosen, "/\x7F") && choice(random) > 2 ? '!' : chosen;
    }
    check(text);
    if (HasFatalFailure()) return;
  }
}

}  // namespace sorn::support
