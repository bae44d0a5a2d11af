// Object paths, whose components are separated by ".", and field descriptions of the "feld:" notation.
#include <algorithm>
#include <array>
#include <cstdlib>
#include <string>
#include <string_view>

#include "dll/base/text.h"
#include "dll/server/functions.h"

namespace vorlix {
namespace {

// First letters of the field types that have a length alone; numbers have more.
constexpr std::string_view TYPES_WITH_LENGTH = "AJUDKM";

// The characters that the String has room for.
void LowerInPlace(DllString& s) {
  char* const end = s.buf + std::min(s.len, std::max(s.max, 0));
  std::transform(s.buf, end, s.buf, LowerCase);
}

// Gives a component back in lower case.
int32_t ReturnLower(std::string_view component, DllString& to) {
  const int32_t code = DllStrFromC(component, to);
  if (code == RESULT_OK) LowerInPlace(to);
  return code;
}

// The parts between "feld:" and the first ";" behind it, as many as a field description has. They borrow from the text,
// which the host may change meanwhile: each is used through a copy in lower case.
class UdataParts {
 public:
  enum class Outcome { NoField, NoEnd, Split };

  Outcome Split(std::string_view text) {
    constexpr std::string_view MARKER = "feld:";
    text = BeforeNul(text);
    const auto* const marker = std::search(text.begin(), text.end(), MARKER.begin(), MARKER.end(),
                                           [](char own, char wanted) { return LowerCase(own) == wanted; });
    if (marker == text.end()) return Outcome::NoField;
    text.remove_prefix(static_cast<size_t>(marker - text.begin()) + MARKER.size());
    const size_t end = text.find(';');
    if (end == std::string_view::npos) return Outcome::NoEnd;
    text = text.substr(0, end);
    for (std::string_view& part : parts_) {
      part = text.substr(0, text.find(','));
      text.remove_prefix(std::min(part.size() + 1, text.size()));
    }
    return Outcome::Split;
  }

  // Part `index`, empty when the text has fewer. It ends where a number that is read from it ends at the latest.
  std::string At(size_t index) const {
    std::string part(parts_[index]);
    std::ranges::transform(part, part.begin(), LowerCase);
    return part;
  }
  int32_t IntAt(size_t index) const { return ReadNumber(At(index).c_str()); }
  double RealAt(size_t index, size_t from) const {
    const std::string part = At(index);
    return part.size() > from ? std::strtod(part.c_str() + from, nullptr) : 0.0;
  }
  int32_t IsMandatory(size_t index) const { return At(index).starts_with('m') ? 1 : 0; }

 private:
  std::array<std::string_view, 7> parts_;  // a number has the most
};

}  // namespace

int32_t u_basename(In<String> ObjPath, Out<String> BaseObj) {
  const std::string_view path = ObjPath.View();
  return ReturnLower(path.substr(path.rfind('.') + 1), BaseObj);
}

int32_t u_pathname(In<String> ObjPath, Out<String> Path) {
  const std::string_view path = ObjPath.View();
  const size_t point = path.find('.');
  return ReturnLower(path.substr(0, point == std::string_view::npos ? 0 : point), Path);
}

int32_t u_rempath(In<String> ObjPath, Out<String> Path) {
  const std::string_view path = ObjPath.View();
  const size_t point = path.find('.');
  return ReturnLower(path.substr(point == std::string_view::npos ? path.size() : point + 1), Path);
}

int32_t u_udata(InOut<String> Udata, Out<String> Feldtyp, Out<IntByReference> Fld_length, Out<IntByReference> Fld_nk,
                Out<IntByReference> Numtyp, Out<IntByReference> Mussfeld, Out<RealByReference> Numvon,
                Out<RealByReference> Numbis, Out<IntByReference> rc) {
  Feldtyp.len = 0;
  for (IntByReference result : {Fld_length, Fld_nk, Numtyp, Mussfeld}) result.Set(0);
  Numvon = 0.0;
  Numbis = 0.0;
  LowerInPlace(Udata);

  UdataParts parts;
  const UdataParts::Outcome outcome = parts.Split(Udata.View());
  if (outcome != UdataParts::Outcome::Split) {
    rc.Set(outcome == UdataParts::Outcome::NoField ? 0 : -1);
    return RESULT_OK;
  }
  std::string type = parts.At(0);
  std::transform(type.begin(), type.end(), type.begin(), UpperCase);
  static_cast<void>(DllStrFromC(type, Feldtyp));  // a type that does not fit stays empty
  const char kind = type.empty() ? '\0' : type.front();
  if (kind == 'N') {
    Fld_length.Set(parts.IntAt(1));
    Fld_nk.Set(parts.IntAt(2));
    Numtyp.Set(parts.IntAt(3));
    Numvon = parts.RealAt(4, 1);  // its first character is a relation sign
    Numbis = parts.RealAt(5, 0);
    Mussfeld.Set(parts.IsMandatory(6));
  } else if (TYPES_WITH_LENGTH.find(kind) != std::string_view::npos) {
    Fld_length.Set(parts.IntAt(1));
    Mussfeld.Set(parts.IsMandatory(2));
    if (kind == 'D') Numtyp.Set(4);
    if (kind == 'K' || kind == 'M') Numtyp.Set(7);
  }
  rc.Set(1);
  return RESULT_OK;
}

}  // namespace vorlix
