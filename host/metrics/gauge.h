// A metric in the Prometheus text format 0.0.4: a value that is true when it is written, for each set of labels.
#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "host/output/json.h"

namespace host::metrics {

/// Names with values, in the order in which they are written.
using Labels = std::vector<std::pair<std::string, std::string>>;

class Gauge {
 public:
  /// @param name  with its unit
  /// @param help  a line without backslashes
  Gauge(std::string name, std::string help) : name_(std::move(name)), help_(std::move(help)) {}

  /// Adds a value. What is no UTF-8 in a label becomes U+FFFD. Those who read the format refuse two values with the
  /// same labels: the first one holds.
  /// @param value  a number
  void add(Labels labels, Json value);

  /// Whole lines; none without a value.
  [[nodiscard]] std::string text() const;

  /// Keys "name", "help" and "samples".
  [[nodiscard]] Json json() const;

 private:
  struct Sample {
    Labels labels;
    Json value;
  };

  std::string name_;
  std::string help_;
  std::vector<Sample> samples_;
  std::set<Labels> known_;
};

/// The values of a gauge that has one label, from text in which it was written.
/// @return the values, as they are written, by the label's; lines that were not written here are left out
[[nodiscard]] std::map<std::string, std::string> valuesByLabel(const std::string& text, const std::string& name,
                                                               const std::string& label);

}  // namespace host::metrics
