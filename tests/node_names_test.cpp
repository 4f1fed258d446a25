// Which node is a volume's: a wrong join names a wrong disk.
#include "host/discovery/node_names.h"

#include <algorithm>
#include <cctype>
#include <gtest/gtest.h>
#include <map>
#include <optional>
#include <random>

namespace {

using host::JoinedNodes;
using host::joinNodes;

const std::string kFirst = "600a0b8000112233445566778899aabb";
const std::string kSecond = "600a0b8000112233ffffffffffffffff";  // begins alike
const std::string kThird = "600a0b80deadbeef0000000000000001";
const std::string kZero(32, '0');

/// What became of one name: the volume's place, or -1.
int volumeOf(const std::string& name, const std::vector<std::string>& ids) {
  const JoinedNodes joined = joinNodes(ids, {name});
  for (size_t volume = 0; volume < ids.size(); ++volume) {
    if (!joined.ofVolumes[volume].empty()) return static_cast<int>(volume);
  }
  EXPECT_EQ(joined.left.size(), 1u) << name;
  return -1;
}

TEST(NodeNames, HoldTheIdOfOneVolumeOrItsBeginning) {
  struct Case {
    std::string name;
    std::vector<std::string> ids;
    int volume;
  };
  const Case cases[] = {
      {"naa." + kFirst, {kFirst, kSecond, kThird}, 0},
      {"NAA.600A0B8000112233445566778899AABB", {kFirst, kSecond}, 0},
      {"naa." + kSecond + ":1", {kFirst, kSecond}, 1},
      {"t10.MAKER_" + kThird + "_and_more", {kThird}, 0},
      {"naa.600a0b80deadbeef", {kFirst, kSecond, kThird}, 2},
      {"naa.600a0b80deadbeef:3", {kThird}, 0},
      {"naa.600A0B80DEADBEEF", {kThird}, 0},
      {"naa.600a0b8000112233", {kFirst, kSecond, kThird}, -1},             // two volumes begin so
      {"naa.600a0b8000112233", {kFirst, kThird}, 0},                       // and here one
      {"naa.600a0b80deadbeef0000000000000002", {kThird}, -1},              // another number that begins so
      {"naa.600a0b80deadbeef0", {kThird}, -1},                             // the same, cut
      {"naa.600a0b80deadbee", {kThird}, -1},                               // a digit is missing
      {"600a0b80deadbeef9-600a0b80deadbeef", {kThird}, 0},                 // at its second place
      {"naa." + kFirst, {kFirst, kFirst}, -1},                             // two controllers have the same id
      {"naa." + kZero, {kZero, kFirst}, -1},                               // an id of zeros joins nothing,
      {"naa.0000000000000000", {kZero}, -1},                               // by its beginning neither,
      {"naa.0000000000000000", {"00000000000000001234567812345678"}, -1},  // nor does a beginning of zeros
      {"naa.00000000000000001234567812345678", {"00000000000000001234567812345678"}, 0},
      {"mpx.vmhba32:C0:T0:L0", {kFirst}, -1},
      {"", {kFirst}, -1},
  };
  for (const Case& one : cases) EXPECT_EQ(volumeOf(one.name, one.ids), one.volume) << one.name;
}

TEST(NodeNames, OfSeveralTheShortestComesFirstAndNoneIsLost) {
  const JoinedNodes joined = joinNodes(
      {kFirst, kThird}, {"naa." + kFirst + ":1", "vml.02" + kFirst, "naa." + kFirst, "eui." + kFirst, "other"});
  EXPECT_EQ(joined.ofVolumes[0],
            (std::vector<std::string>{"eui." + kFirst, "naa." + kFirst, "naa." + kFirst + ":1", "vml.02" + kFirst}));
  EXPECT_TRUE(joined.ofVolumes[1].empty());
  ASSERT_EQ(joined.left.size(), 1u);
  EXPECT_EQ(joined.left[0].name, "other");
  EXPECT_EQ(joined.left[0].why, "");
}

TEST(NodeNames, SayWhyTheyAreLeftWhereSeveralVolumesCouldBeMeant) {
  const auto whyOf = [](const std::string& name, const std::vector<std::string>& ids) {
    return joinNodes(ids, {name}).left.at(0).why;
  };
  EXPECT_EQ(whyOf("naa." + kFirst, {kFirst, kThird, kFirst}), "its name holds the unique id of 2 volumes");
  EXPECT_EQ(whyOf("naa.600a0b8000112233", {kFirst, kSecond}), "its name begins the unique ids of 2 volumes");
}

/// The runs of hexadecimal digits in a text.
std::vector<std::string> numbersIn(const std::string& text) {
  std::vector<std::string> numbers(1);
  for (const char character : text) {
    if (std::isxdigit(static_cast<unsigned char>(character)) != 0) {
      numbers.back() += static_cast<char>(std::tolower(character));
    } else if (!numbers.back().empty()) {
      numbers.emplace_back();
    }
  }
  return numbers;
}

/// The rule once more, over whole numbers: the names below are made so that no id begins inside of one.
std::optional<size_t> expectedVolume(const std::string& name, const std::vector<std::string>& ids) {
  for (const size_t length : {32u, 16u}) {
    std::vector<size_t> meant;
    for (size_t volume = 0; volume < ids.size(); ++volume) {
      const std::string wanted = ids[volume].substr(0, length);
      if (wanted.find_first_not_of('0') == std::string::npos) continue;
      const auto numbers = numbersIn(name);
      if (std::find(numbers.begin(), numbers.end(), wanted) != numbers.end()) meant.push_back(volume);
    }
    if (!meant.empty()) return meant.size() == 1 ? std::optional(meant.front()) : std::nullopt;
  }
  return std::nullopt;
}

const std::string kBeginnings[] = {"600a0b8000112233", "600a0b8000112234", "6a1b2c0000000201", std::string(16, '0')};
const std::string kEndings[] = {"00000000000000c1", "00000000000000c2", "ffffffffffffffff", std::string(16, '0')};

size_t anyBelow(size_t end, std::mt19937& random) {
  return std::uniform_int_distribution<size_t>(0, end - 1)(random);
}

std::string randomName(std::mt19937& random) {
  std::string number = kBeginnings[anyBelow(4, random)];
  if (anyBelow(2, random) == 0) number += kEndings[anyBelow(4, random)];
  if (anyBelow(4, random) == 0) std::transform(number.begin(), number.end(), number.begin(), ::toupper);
  return (anyBelow(2, random) == 0 ? "nxx." : "t10.x_") + number + (anyBelow(3, random) == 0 ? ":1" : "");
}

TEST(NodeNames, OfManyRandomHostsAreJoinedByTheRule) {
  std::mt19937 random(20261126);
  for (int host = 0; host < 500; ++host) {
    std::vector<std::string> ids(1 + anyBelow(6, random));
    for (std::string& id : ids) id = kBeginnings[anyBelow(4, random)] + kEndings[anyBelow(4, random)];
    std::map<std::string, std::optional<size_t>> expected;
    for (size_t node = 0; node < 1 + anyBelow(8, random); ++node) {
      const std::string name = randomName(random);
      expected[name] = expectedVolume(name, ids);
    }
    std::vector<std::string> names;
    for (const auto& [name, volume] : expected) names.push_back(name);
    const JoinedNodes joined = joinNodes(ids, names);
    size_t placed = joined.left.size();
    for (size_t volume = 0; volume < ids.size(); ++volume) {
      placed += joined.ofVolumes[volume].size();
      for (const std::string& name : joined.ofVolumes[volume]) EXPECT_EQ(expected[name], volume) << name;
    }
    for (const host::LeftNode& node : joined.left) EXPECT_EQ(expected[node.name], std::nullopt) << node.name;
    EXPECT_EQ(placed, names.size());
  }
}

}  // namespace
