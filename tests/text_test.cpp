// Texts of devices on a terminal: none of them steers it, and columns stand below each other.
#include "host/output/text.h"

#include <clocale>
#include <gtest/gtest.h>
#include <random>

#include "host/output/text_table.h"

namespace {

using host::printable;
using host::textWidth;

/// As long as it lives, the process has another locale.
class InLocale {
 public:
  explicit InLocale(const char* name) : isThere_(std::setlocale(LC_CTYPE, name) != nullptr) {}
  ~InLocale() { std::setlocale(LC_CTYPE, "C"); }
  InLocale(const InLocale&) = delete;
  InLocale& operator=(const InLocale&) = delete;
  [[nodiscard]] bool isThere() const { return isThere_; }

 private:
  bool isThere_;
};

struct Case {
  std::string text;
  std::string inC;
  std::string inUtf8;
};

const Case kCases[] = {
    {"plain ~", "plain ~", "plain ~"},
    {"Räume", R"(R\xc3\xa4ume)", "Räume"},
    {"データ", R"(\xe3\x83\x87\xe3\x83\xbc\xe3\x82\xbf)", "データ"},
    {"\033[2J\a\t\n\x7f", R"(\x1b[2J\x07\x09\x0a\x7f)", R"(\x1b[2J\x07\x09\x0a\x7f)"},
    {std::string("a\0b", 3), R"(a\x00b)", R"(a\x00b)"},
    {"\xc2\x9b"
     "31m",
     R"(\xc2\x9b31m)", R"(\xc2\x9b31m)"},  // the eight-bit ESC [
    {std::string("a\xe2\x80") + "\xae" + "b", R"(a\xe2\x80\xaeb)",
     R"(a\xe2\x80\xaeb)"},  // what follows from right to left
    {std::string("a\xe2\x81") + "\xa6" + "b\u200b", R"(a\xe2\x81\xa6b\xe2\x80\x8b)", R"(a\xe2\x81\xa6b\xe2\x80\x8b)"},
    {"\xff\xfe", R"(\xff\xfe)", R"(\xff\xfe)"},
    {"\xc3", R"(\xc3)", R"(\xc3)"},  // cut
    {"\xc3(", R"(\xc3()", R"(\xc3()"},
    {"\xc0\x9b", R"(\xc0\x9b)", R"(\xc0\x9b)"},              // ESC in more bytes than it needs
    {"\xed\xa0\x80", R"(\xed\xa0\x80)", R"(\xed\xa0\x80)"},  // half of a pair
};

TEST(Text, IsPrintedAsFarAsTheLocaleKnowsIt) {
  for (const Case& one : kCases) EXPECT_EQ(printable(one.text), one.inC);
  const InLocale utf8("C.UTF-8");
  ASSERT_TRUE(utf8.isThere());
  for (const Case& one : kCases) EXPECT_EQ(printable(one.text), one.inUtf8);
}

/// Random bytes with many that mean something to a terminal or begin characters of several bytes.
std::string randomBytes(std::mt19937& random) {
  constexpr unsigned char kSpecial[] = {0x1b, 0x9b, 0xc2, 0xc3, 0xe2, 0x80, 0xae,
                                        0xf0, 0x9f, 0x0d, '\\', 'x',  ' ',  'A'};
  std::string text(std::uniform_int_distribution<size_t>(0, 12)(random), '\0');
  for (char& byte : text) {
    const auto pick = std::uniform_int_distribution<size_t>(0, 2 * std::size(kSpecial) - 1)(random);
    byte = static_cast<char>(pick < std::size(kSpecial) ? kSpecial[pick] : random() % 256);
  }
  return text;
}

TEST(Text, NeverSteersATerminal) {
  std::mt19937 random(11);
  const InLocale utf8("C.UTF-8");
  for (int round = 0; round < 20000; ++round) {
    const std::string shown = printable(randomBytes(random));
    for (size_t place = 0; place < shown.size(); ++place) {
      const auto byte = static_cast<unsigned char>(shown[place]);
      EXPECT_TRUE(byte >= 0x20 && byte != 0x7f) << shown;
      // U+0080 to U+009F are the controls of eight bits.
      EXPECT_TRUE(byte != 0xc2 || static_cast<unsigned char>(shown[place + 1]) >= 0xa0) << shown;
    }
    EXPECT_EQ(printable(shown), shown);
  }
}

TEST(Text, IsAsWideAsATerminalShowsIt) {
  const InLocale utf8("C.UTF-8");
  EXPECT_EQ(textWidth(""), 0u);
  EXPECT_EQ(textWidth("Räume"), 5u);
  EXPECT_EQ(textWidth("データ"), 6u);   // each takes two places
  EXPECT_EQ(textWidth("a\u0308"), 1u);  // a letter and the mark above it
  host::TextTable table({"LABEL", "CACHE"});
  table.addRow({"Räume", "on"});
  table.addRow({"データ", "off"});
  table.addRow({"-", "on"});
  EXPECT_EQ(table.text(host::Terminal{}), "LABEL   CACHE\nRäume   on\nデータ  off\n-       on\n");
}

TEST(Text, NumbersAreGroupedByThousands) {
  EXPECT_EQ(host::grouped(0), "0");
  EXPECT_EQ(host::grouped(999), "999");
  EXPECT_EQ(host::grouped(1000), "1,000");
  EXPECT_EQ(host::grouped(1234567), "1,234,567");
}

}  // namespace
