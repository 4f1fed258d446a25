// An anonymous recording: nothing is left of it but what is looked at, and what tells whose host it was is replaced.
#include "host/recording/anonymizer.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "tests/recorded_command.h"

namespace {

namespace recording = host::recording;
using recording::Bytes;
using simulator::Opcode;

/// Places of a reply, first and last byte, that are looked at.
using Places = std::vector<std::pair<size_t, size_t>>;

TEST(Anonymous, OnlyWhatIsLookedAtIsLeftOfAReply) {
  const std::map<Opcode, Places> lookedAt = {
      {Opcode::identifyController, {{0, 0}, {152, 159}, {162, 163}}},
      {Opcode::identifyLogicalDevice, {{23, 23}, {26, 29}, {30, 93}, {102, 117}}},
      {Opcode::senseConfiguration, {{8, 13}, {250, 253}, {256, 267}, {300, 307}}},
      {Opcode::identifyPhysicalDevice, {{52, 91}, {114, 115}, {1792, 1792}, {1794, 1794}, {1951, 2014}, {2015, 2030}}},
      {Opcode::senseBlinkDriveLed, {{0, 275}, {276, 511}}},
      {Opcode::senseControllerParameters, {{125, 125}}},
      {Opcode::senseCacheConfiguration, {{9, 14}, {16, 27}, {267, 274}}}};
  for (const auto& [opcode, places] : lookedAt) {
    SCOPED_TRACE(layoutOf(opcode).name);
    Bytes reply(opcode == Opcode::identifyPhysicalDevice ? 2560 : 512, 0x41);
    const auto put = [&](size_t offset, uint16_t number) { std::memcpy(reply.data() + offset, &number, 2); };
    if (opcode == Opcode::senseConfiguration) put(250, 300);
    if (opcode == Opcode::senseConfiguration) put(260, 64);
    if (opcode == Opcode::senseCacheConfiguration) put(9, 267);
    if (opcode == Opcode::senseCacheConfiguration) put(20, 64);
    recording::AnyCall call = commandOf(0, opcode, 0, reply);
    auto& answer = std::get<recording::Command>(call).answer;
    std::fill(answer.record.begin() + 28, answer.record.begin() + 76, uint8_t{0x41});
    recording::Anonymizer().apply(call);
    ASSERT_EQ(answer.data.size(), reply.size());
    for (const auto& [first, last] : places) {
      const auto* begin = answer.data.data();
      EXPECT_TRUE(std::any_of(begin + first, begin + last + 1, [](uint8_t byte) { return byte != 0; })) << first;
      std::fill(answer.data.begin() + static_cast<std::ptrdiff_t>(first),
                answer.data.begin() + static_cast<std::ptrdiff_t>(last) + 1, uint8_t{0});
    }
    EXPECT_EQ(answer.data, Bytes(reply.size()));
    for (size_t at = 28; at < 76; ++at) EXPECT_EQ(answer.record[at], 0) << "error information";
  }
}

TEST(Anonymous, WhatIsWrittenBackStaysWhatWasRead) {
  const std::pair<Opcode, Opcode> settings[] = {{Opcode::senseBlinkDriveLed, Opcode::blinkDriveTrayLed},
                                                {Opcode::senseControllerParameters, Opcode::setControllerParameters},
                                                {Opcode::senseCacheConfiguration, Opcode::setCacheConfiguration}};
  std::mt19937 random(1);
  Bytes data(512);
  for (uint8_t& byte : data) byte = static_cast<uint8_t>(random());
  for (const auto& [read, written] : settings) {
    recording::AnyCall sense = commandOf(0, read, 0, data);
    recording::AnyCall set = commandOf(0, written, 0, data);
    const recording::Anonymizer anonymizer;
    anonymizer.apply(sense);
    anonymizer.apply(set);
    EXPECT_EQ(std::get<recording::Command>(set).request.data, std::get<recording::Command>(sense).answer.data);
  }
}

size_t commonBeginning(const std::string& one, const std::string& other) {
  return static_cast<size_t>(std::mismatch(one.begin(), one.end(), other.begin(), other.end()).first - one.begin());
}

TEST(Anonymous, TextsThatBeginAlikeDoSoAfterwardsAndNoneStays) {
  std::mt19937 random(7);
  std::set<std::string> texts = {"vmhba2", "vmhba12", "S7P3", "S7P3X0Q1", "S7P3X0Q8", "a b-c:d", "R\xc3\xa4ume"};
  while (texts.size() < 400) {
    std::string text = *std::next(texts.begin(), static_cast<std::ptrdiff_t>(random() % texts.size()));
    text.resize(1 + random() % text.size());
    for (uint32_t count = 1 + random() % 6; count > 0; --count) text += "0123456789ABCabc -"[random() % 18];
    texts.insert(text);
  }
  const recording::Pseudonyms pseudonyms;
  std::map<std::string, std::string> others;
  for (const std::string& text : texts) others[text] = pseudonyms.serial(text);
  for (const auto& [text, other] : others) {
    ASSERT_EQ(other.size(), text.size());
    for (size_t at = 0; at < text.size(); ++at) {
      const auto byte = static_cast<unsigned char>(text[at]);
      const auto now = static_cast<unsigned char>(other[at]);
      EXPECT_EQ(std::isdigit(byte), std::isdigit(now)) << text;
      EXPECT_EQ(std::isupper(byte), std::isupper(now)) << text;
      EXPECT_EQ(std::islower(byte), std::islower(now)) << text;
      const bool mayStay = std::isalnum(byte) == 0 && byte < 0x80;
      EXPECT_EQ(byte == now, mayStay) << text;
    }
    for (const auto& [text2, other2] : others) {
      EXPECT_EQ(commonBeginning(text, text2), commonBeginning(other, other2)) << text << " and " << text2;
    }
  }
  EXPECT_NE(recording::Pseudonyms().text("S7P3X0Q1"), recording::Pseudonyms().text("S7P3X0Q1"));
}

TEST(Anonymous, ANodeIsStillNamedByItsId) {
  const recording::Pseudonyms pseudonyms;
  uint8_t id[] = {0x6a, 0x1b, 0x2c, 0, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0xa6, 0xe2, 1};
  pseudonyms.number(id);
  std::string digits;
  for (const uint8_t byte : id) digits += std::string{"0123456789abcdef"[byte >> 4], "0123456789abcdef"[byte & 15]};
  EXPECT_EQ(pseudonyms.device("naa.6a1b2c00000002000000000000a6e201"), "naa." + digits);
  EXPECT_EQ(pseudonyms.device("naa.6a1b2c0000000200"), "naa." + digits.substr(0, 16));
  EXPECT_EQ(pseudonyms.device("naa.6a1b2c0000000200:1").substr(0, 20), "naa." + digits.substr(0, 16));
  EXPECT_NE(digits.substr(0, 6), "6a1b2c");
  uint8_t none[8] = {};
  pseudonyms.number(none);
  EXPECT_EQ(std::count(std::begin(none), std::end(none), 0), 8);
}

TEST(Anonymous, OfTheModuleLoaderTheMarkOfAnOemIsLeft) {
  recording::AnyCall call = recording::Run{{"vmkload_mod -s veltrane"}, {0, "at host7\nbuild: OEM, oem-17\n", 0}};
  recording::Anonymizer().apply(call);
  EXPECT_EQ(std::get<recording::Run>(call).answer.output, "        \n       OEM  oem   \n");
}

}  // namespace
