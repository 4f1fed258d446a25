// JSON text that is known to be in order before it is parsed.
#include "json/json_text.h"

#include "json/json_check.h"

namespace input {

nlohmann::json parseJson(const std::string& text, Mistakes& mistakes) {
  const auto mistake = mistakeInJson(text);
  if (!mistake) return nlohmann::json::parse(text);
  mistakes.add(*mistake);
  return nullptr;
}

}  // namespace input
