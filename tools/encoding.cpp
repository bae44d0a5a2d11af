#include "tools/encoding.h"

#include <langinfo.h>

#include <array>
#include <cerrno>
#include <optional>

#include "tools/failure.h"
#include "tools/quoting.h"

namespace vorlix::tool {
namespace {

constexpr std::string_view ASCII = "Aa09 .,-";
constexpr size_t FAILED = static_cast<size_t>(-1);

iconv_t Open(const std::string& to, const std::string& from) {
  auto* const opened = iconv_open(to.c_str(), from.c_str());
  if (opened == reinterpret_cast<iconv_t>(-1))
    throw ToolError(Status::Usage, "this system cannot convert from " + from + " to " + to);
  return opened;
}

// None when the text has something that cannot be converted; `rest` becomes what is left from there.
std::optional<std::string> Convert(iconv_t converter, std::string_view text, std::string_view& rest) {
  std::string result;
  std::array<char, 1024> room;
  char* from = const_cast<char*>(text.data());  // iconv does not write there
  size_t left = text.size();
  iconv(converter, nullptr, nullptr, nullptr, nullptr);
  while (left > 0) {
    char* to = room.data();
    size_t free = room.size();
    const size_t done = iconv(converter, &from, &left, &to, &free);
    result.append(room.data(), room.size() - free);
    rest = {from, left};
    if (done == FAILED && errno != E2BIG) return {};
  }
  return result;
}

}  // namespace

std::string EncodingOf(const std::string& locale) {
  const LocaleScope scope(LC_CTYPE, locale);
  return scope.IsInstalled() ? nl_langinfo(CODESET) : "";
}

Encoding::Encoding(const std::string& outside, const std::string& of_server)
    : outside_(outside), of_server_(of_server) {
  if (outside == of_server) return;
  to_server_.reset(Open(of_server, outside));
  to_outside_.reset(Open(outside, of_server));
  if (ToOutside(ASCII) != ASCII)
    throw ToolError(Status::Usage, "in " + outside + " ASCII is not ASCII; name the encoding of the terminal");
}

std::string Encoding::ToServer(std::string_view text) const {
  if (to_server_ == nullptr) return std::string(text);
  std::string_view rest;
  if (auto converted = Convert(to_server_.get(), text, rest)) return *std::move(converted);
  if (outside_ == "UTF-8" && !IsUtf8(text))
    throw ToolError(Status::Usage, Quote(text) + " is not UTF-8; --encoding names the encoding of what is typed");
  throw ToolError(Status::Usage, "the server's language, in " + of_server_ + ", does not have what begins with " +
                                     Quote(rest.substr(0, rest.find_first_of(" \n\t"))));
}

std::string Encoding::ToOutside(std::string_view text) const {
  std::string_view rest;
  if (to_outside_ == nullptr) return std::string(text);
  return Convert(to_outside_.get(), text, rest).value_or(std::string(text));
}

}  // namespace vorlix::tool
