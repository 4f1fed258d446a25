// Lays gauges out as text, and reads that.
#include "host/metrics/gauge.h"

#include <optional>
#include <sstream>

#include "host/output/json_values.h"

namespace host::metrics {
namespace {

/// A label's value between its quotes.
std::string escapedLabel(const std::string& value) {
  std::string text;
  for (const char character : value) {
    if (character == '\n') {
      text += "\\n";
    } else {
      if (character == '\\' || character == '"') text += '\\';
      text += character;
    }
  }
  return text;
}

/// Takes an escaped value and the quote behind it off the beginning of a text.
/// @return nothing where there is none
std::optional<std::string> takeValue(std::string& text) {
  std::string value;
  for (size_t place = 0; place < text.size(); ++place) {
    if (text[place] == '"') {
      text.erase(0, place + 1);
      return value;
    }
    const bool isEscaped = text[place] == '\\' && place + 1 < text.size();
    if (isEscaped) ++place;
    value += isEscaped && text[place] == 'n' ? '\n' : text[place];
  }
  return std::nullopt;
}

std::string textOf(const Labels& labels) {
  if (labels.empty()) return "";
  std::string text;
  for (const auto& [name, value] : labels)
    text += (text.empty() ? "" : ",") + name + "=\"" + escapedLabel(value) + "\"";
  return "{" + text + "}";
}

}  // namespace

void Gauge::add(Labels labels, Json value) {
  for (auto& [name, text] : labels) text = utf8Of(text);
  if (known_.insert(labels).second) samples_.push_back({std::move(labels), std::move(value)});
}

std::string Gauge::text() const {
  if (samples_.empty()) return "";
  std::string text = "# HELP " + name_ + " " + help_ + "\n# TYPE " + name_ + " gauge\n";
  for (const Sample& sample : samples_) text += name_ + textOf(sample.labels) + " " + sample.value.dump() + "\n";
  return text;
}

Json Gauge::json() const {
  Json samples = Json::array();
  for (const Sample& sample : samples_) {
    Json labels = Json::object();
    for (const auto& [name, value] : sample.labels) labels[name] = value;
    samples.push_back({{"labels", std::move(labels)}, {"value", sample.value}});
  }
  return {{"name", name_}, {"help", help_}, {"samples", std::move(samples)}};
}

std::map<std::string, std::string> valuesByLabel(const std::string& text, const std::string& name,
                                                 const std::string& label) {
  const std::string beginning = name + "{" + label + "=\"";
  const std::string end = "} ";
  std::map<std::string, std::string> values;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    if (!line.starts_with(beginning)) continue;
    line.erase(0, beginning.size());
    const auto value = takeValue(line);
    if (value && line.starts_with(end)) values[*value] = line.substr(end.size());
  }
  return values;
}

}  // namespace host::metrics
