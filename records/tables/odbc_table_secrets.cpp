#include "records/tables/odbc_table_secrets.h"

#include <algorithm>
#include <array>

namespace zvrt::records {
namespace {

struct Setting {
  std::string keyword;  // in small letters
  std::string value;    // without braces
};

std::string small_letters(std::string_view text) {
  std::string small;
  for (const char c : text)
    if (c != ' ' && c != '\t') small += c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
  return small;
}

// Reads a value and leaves `at` after its semicolon.
std::string value_at(std::string_view text, std::size_t& at) {
  std::string value;
  if (at < text.size() && text[at] == '{') {
    for (++at; at < text.size(); ++at) {
      if (text[at] == '}' && (at + 1 >= text.size() || text[at + 1] != '}')) break;
      if (text[at] == '}') ++at;
      value += text[at];
    }
  }
  const std::size_t end = std::min(text.find(';', at), text.size());
  if (value.empty()) value = text.substr(at, end - at);
  at = end + 1;
  return value;
}

std::vector<Setting> settings_of(std::string_view text) {
  std::vector<Setting> settings;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = text.find_first_of("=;", at);
    if (end == std::string_view::npos) break;
    Setting setting{small_letters(text.substr(at, end - at)), ""};
    at = end + 1;
    if (text[end] == ';') continue;
    setting.value = value_at(text, at);
    settings.push_back(std::move(setting));
  }
  return settings;
}

bool is_secret(const std::string& keyword) {
  constexpr std::array words{"pwd", "pass", "secret", "token", "key", "credential"};
  return std::any_of(words.begin(), words.end(),
                     [&](const char* word) { return keyword.find(word) != std::string::npos; });
}

}  // namespace

std::string shown_connection(std::string_view connection_string) {
  std::string shown(odbc_prefix);
  constexpr std::array seen{"dsn", "server", "servername", "database"};
  for (const Setting& setting : settings_of(connection_string))
    if (std::find(seen.begin(), seen.end(), setting.keyword) != seen.end())
      shown.append(shown.size() == odbc_prefix.size() ? "" : ";").append(setting.keyword + "=" + setting.value);
  return shown;
}

std::vector<std::string> secrets_of(std::string_view connection_string) {
  std::vector<std::string> secrets;
  for (const Setting& setting : settings_of(connection_string))
    if (is_secret(setting.keyword) && !setting.value.empty()) secrets.push_back(setting.value);
  std::sort(secrets.begin(), secrets.end(),
            [](const std::string& one, const std::string& other) { return one.size() > other.size(); });
  return secrets;
}

std::string without_secrets(std::string text, const std::vector<std::string>& secrets) {
  constexpr std::string_view stars = "***";
  for (const std::string& secret : secrets)
    for (std::size_t at = text.find(secret); at != std::string::npos; at = text.find(secret, at + stars.size()))
      text.replace(at, secret.size(), stars);
  return text;
}

}  // namespace zvrt::records
