// JSON text that is known to be in order before it is parsed.
#include "simulator/json_text.h"

#include "json/json_check.h"

namespace simulator {

nlohmann::json parseJson(const std::string& text, Mistakes& mistakes) {
  const auto mistake = input::mistakeInJson(text);
  if (!mistake) return nlohmann::json::parse(text);
  mistakes.add(*mistake);
  return nullptr;
}

}  // namespace simulator
