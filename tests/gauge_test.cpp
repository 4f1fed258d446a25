// The text of metrics, read by a reader of its own: whatever stands in a label comes back, no two values have the same
// labels, and a reader of old files takes what was written and nothing else.
#include "host/metrics/gauge.h"

#include <gtest/gtest.h>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

using host::metrics::Gauge;
using host::metrics::Labels;
using host::metrics::valuesByLabel;

/// A line of samples as the format describes it: NAME{LABEL="VALUE",...} NUMBER.
class SampleReader {
 public:
  SampleReader(std::string line, const std::string& name) : rest_(std::move(line)) {
    expect(name);
    if (take("{")) {
      do {
        labels.push_back(label());
      } while (take(","));
      expect("}");
    }
    expect(" ");
    size_t end = 0;
    value = std::stod(rest_, &end);
    if (end != rest_.size()) throw std::runtime_error("no number: " + rest_);
  }

  Labels labels;
  double value = 0;

 private:
  bool take(const std::string& text) {
    if (!rest_.starts_with(text)) return false;
    rest_.erase(0, text.size());
    return true;
  }

  void expect(const std::string& text) {
    if (!take(text)) throw std::runtime_error("no \"" + text + "\" before: " + rest_);
  }

  std::pair<std::string, std::string> label() {
    const size_t end = rest_.find_first_not_of("abcdefghijklmnopqrstuvwxyz_");
    const std::string name = rest_.substr(0, end);
    expect(name + "=\"");
    std::string text;
    while (!take("\"")) {
      if (rest_.empty()) throw std::runtime_error("no end of a label");
      text += take("\\") ? escapedByte() : nextByte();
    }
    return {name, text};
  }

  char nextByte() {
    const char byte = rest_.at(0);
    rest_.erase(0, 1);
    return byte;
  }

  char escapedByte() {
    const char byte = nextByte();
    if (byte == 'n') return '\n';
    if (byte != '\\' && byte != '"') throw std::runtime_error("an escape that the format has not: " + rest_);
    return byte;
  }

  std::string rest_;
};

std::vector<SampleReader> samplesOf(const std::string& text, const std::string& name) {
  std::istringstream lines(text);
  std::string line;
  std::getline(lines, line);
  EXPECT_EQ(line, "# HELP " + name + " What it is.");
  std::getline(lines, line);
  EXPECT_EQ(line, "# TYPE " + name + " gauge");
  std::vector<SampleReader> samples;
  while (std::getline(lines, line)) samples.emplace_back(line, name);
  EXPECT_TRUE(text.ends_with('\n'));
  return samples;
}

const std::string kReplaced = "\xEF\xBF\xBD";  // U+FFFD

TEST(Gauge, LabelsComeBackAsTheyWereButForWhatIsNoUtf8) {
  const struct {
    std::string given;
    std::string read;
  } cases[] = {{"", ""},
               {"1I", "1I"},
               {"\"} 1\ndmu_up{hba=\"", "\"} 1\ndmu_up{hba=\""},
               {"\\n\\\\n\n\\", "\\n\\\\n\n\\"},
               {"\r\t\x01\x7F", "\r\t\x01\x7F"},
               {std::string("a\0b", 3), std::string("a\0b", 3)},
               {"R\xC3\xA4ume \xF0\x9F\x98\x80", "R\xC3\xA4ume \xF0\x9F\x98\x80"},
               {"\xFF", kReplaced},
               {"a\xC3", "a" + kReplaced},
               {"\xC3\"", kReplaced + "\""},
               {"\xED\xA0\x80|", kReplaced + kReplaced + kReplaced + "|"},  // half of a surrogate pair
               {"\xC0\xAF|", kReplaced + kReplaced + "|"}};                 // longer than it has to be
  for (const auto& [given, read] : cases) {
    SCOPED_TRACE(given);
    Gauge gauge("dmu_test", "What it is.");
    gauge.add({{"hba", given}, {"bay", "1"}}, 7);
    const auto samples = samplesOf(gauge.text(), "dmu_test");
    ASSERT_EQ(samples.size(), 1U);
    EXPECT_EQ(samples[0].labels, (Labels{{"hba", read}, {"bay", "1"}}));
    EXPECT_EQ(samples[0].value, 7);
  }
}

TEST(Gauge, ValuesAreNumbersAndNoneIsNoText) {
  Gauge gauge("dmu_test", "What it is.");
  EXPECT_EQ(gauge.text(), "");
  gauge.add({}, 1795680000);
  EXPECT_TRUE(gauge.text().ends_with("\ndmu_test 1795680000\n")) << gauge.text();
  for (const double value : {0.0, 0.000001, 0.25, 12345.678901}) {
    Gauge other("dmu_test", "What it is.");
    other.add({}, value);
    EXPECT_EQ(samplesOf(other.text(), "dmu_test").at(0).value, value);
  }
}

/// Texts of few different bytes, those that matter here among them, so that the same come again.
std::string randomText(std::mt19937& random) {
  static const std::string bytes("\"\\n\n}{, =\xFF\xC3\xA4", 12);
  std::string text;
  for (size_t length = random() % 4; length > 0; --length) text += bytes[random() % bytes.size()];
  return text;
}

TEST(Gauge, NoTwoValuesHaveTheSameLabelsAndTheFirstHolds) {
  std::mt19937 random(1);
  Gauge gauge("dmu_test", "What it is.");
  for (int value = 0; value < 5000; ++value) {
    gauge.add({{"port", randomText(random)}, {"serial", randomText(random)}}, value);
  }
  std::set<Labels> seen;
  double last = -1;
  const auto samples = samplesOf(gauge.text(), "dmu_test");
  for (const SampleReader& sample : samples) {
    EXPECT_TRUE(seen.insert(sample.labels).second) << "twice";
    EXPECT_GT(sample.value, last);
    last = sample.value;
  }
  EXPECT_GT(samples.size(), 1000U);
  EXPECT_LT(samples.size(), 5000U);
  EXPECT_EQ(gauge.json()["samples"].size(), samples.size());
}

TEST(Gauge, WhatWasWrittenIsReadFromAFile) {
  std::mt19937 random(2);
  Gauge gauge("dmu_up", "What it is.");
  for (int value = 0; value < 500; ++value) gauge.add({{"hba", randomText(random)}}, value);
  std::map<std::string, std::string> written;
  for (const SampleReader& sample : samplesOf(gauge.text(), "dmu_up")) {
    written[sample.labels.at(0).second] = std::to_string(static_cast<int>(sample.value));
  }
  EXPECT_EQ(valuesByLabel(gauge.text(), "dmu_up", "hba"), written);
  EXPECT_EQ(valuesByLabel(gauge.text(), "dmu_upper", "hba").size(), 0U);
  EXPECT_EQ(valuesByLabel(gauge.text(), "dmu_up", "device").size(), 0U);
}

TEST(Gauge, OtherLinesOfAFileAreLeftOut) {
  for (const char* line :
       {"", "dmu_up", "dmu_up{", R"(dmu_up{hba=")", R"(dmu_up{hba="a)", R"(dmu_up{hba="a\)", R"(dmu_up{hba="a\"} 1)",
        R"(dmu_up{hba="a")", R"(dmu_up{hba="a"}1)", R"(dmu_up{hba="a",} 1)", R"(dmu_up{hba="a",bay="1"} 1)",
        R"(dmu_up{bay="1",hba="a"} 1)", R"( dmu_up{hba="a"} 1)", R"(# dmu_up{hba="a"} 1)"}) {
    EXPECT_EQ(valuesByLabel(std::string(line) + "\ndmu_up{hba=\"b\"} 1", "dmu_up", "hba"),
              (std::map<std::string, std::string>{{"b", "1"}}))
        << line;
  }
}

}  // namespace
