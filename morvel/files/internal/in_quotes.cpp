#include "morvel/files/internal/in_quotes.h"

#include <nlohmann/json.hpp>

namespace trova::files {
namespace {

constexpr std::size_t kMaxQuotedBytes = 300;

std::string shortened(std::string_view text) {
  std::string result(text.substr(0, kMaxQuotedBytes / 2));
  result += "...";
  result += text.substr(text.size() - kMaxQuotedBytes / 2);
  return result;
}

}  // namespace

std::string inQuotes(std::string_view text) {
  using nlohmann::json;
  const json value = text.size() > kMaxQuotedBytes ? shortened(text) : std::string(text);
  return value.dump(-1, ' ', false, json::error_handler_t::replace);
}

}  // namespace trova::files
