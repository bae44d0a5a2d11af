#include "tools/preview/drawing.h"

#include <algorithm>
#include <vector>

#include "tools/check/layout.h"
#include "tools/paint.h"
#include "tools/quoting.h"

namespace vorlix::tool {
namespace {

constexpr size_t LONGEST_NAME = 24;  // in its own column; a longer one has a line of its own
constexpr int MOST_CHOICES = 8;

size_t Columns(std::string_view text) { return ColumnOf(text, text.size()); }

std::string Padded(std::string text, size_t columns) {
  return text.append(columns - std::min(columns, Columns(text)), ' ');
}

// Where the character of this number begins.
size_t ByteOf(std::string_view text, size_t column) {
  size_t byte = 0;
  while (byte < text.size() && ColumnOf(text, byte) < column) ++byte;
  return byte;
}

// A box as wide as the field, in lines of at most `width` columns, brackets included.
std::vector<std::string> DrawBox(std::string text, size_t length, size_t width) {
  const size_t inside = width - 2;
  text = Padded(std::move(text), length);
  std::vector<std::string> lines;
  do {
    const size_t size = ByteOf(text, inside);
    lines.push_back((lines.empty() ? "[" : " ") + text.substr(0, size));
    text.erase(0, size);
  } while (!text.empty());
  lines.back() += ']';
  return lines;
}

std::string DrawChoices(const FormField& field) {
  std::string drawn;
  const std::string chosen = field.shown.substr(std::min(field.shown.find_first_not_of(' '), field.shown.size()));
  for (const int choice : ChoicesOfField(field, MOST_CHOICES)) {
    const std::string number = std::to_string(choice);
    drawn += (drawn.empty() ? "" : "  ") + std::string(number == chosen ? "(x) " : "( ) ") + number;
  }
  return drawn.empty() ? '(' + chosen + ')' : drawn;
}

std::vector<std::string> DrawInput(const FormField& field, size_t width, const Conversion& to_outside) {
  const std::string shown = Printable(to_outside(field.shown));
  if (field.object_type == "CB") return {std::atoi(field.shown.c_str()) != 0 ? "[x]" : "[ ]"};
  if (field.object_type == "RB") return {DrawChoices(field)};
  if (field.object_type == "LB") return {"[" + Padded(shown, std::max<size_t>(field.length, 4)) + " v]"};
  return DrawBox(shown, std::max<size_t>(field.length, 1), width);
}

// What is to be said of a field besides its name and what it shows.
std::vector<std::string> Remarks(const FormField& field) {
  std::vector<std::string> remarks = {field.path + ": " + KindOfField(field) +
                                      (field.is_required ? ", must be filled in" : "")};
  if (const std::string at_first = DefaultOfField(field); !at_first.empty()) remarks.back() += ", " + at_first;
  for (const Inherited& one : field.inherited)
    remarks.push_back(one.attributes + " from [" + one.model + "], " + one.place);
  return remarks;
}

}  // namespace

std::string DrawForm(const Form& form, size_t width, const Conversion& to_outside) {
  size_t names = 0;
  for (const FormField& field : form.fields)
    if (field.name.size() <= LONGEST_NAME) names = std::max(names, field.name.size());
  names = std::min(names, width / 3);
  const size_t indent = names + 4;
  const std::string margin(indent, ' ');
  const auto line = [&](const std::string& text) { return margin + Wrap(text, width, indent) + '\n'; };

  std::string drawn = Bold(Printable(to_outside(form.name))) + "  " + Dim(form.id) + '\n';
  for (const FormField& field : form.fields) {
    const std::string name = Printable(to_outside(field.name));
    const bool fits = Columns(name) <= names;
    drawn += std::string("\n") + (field.is_required ? "* " : "  ") + Bold(fits ? Padded(name, names) : name);
    drawn += fits ? "  " : '\n' + margin;
    const std::vector<std::string> input = DrawInput(field, width - indent, to_outside);
    for (size_t k = 0; k < input.size(); ++k) drawn += (k == 0 ? "" : margin) + input[k] + '\n';
    for (const std::string& remark : Remarks(field)) drawn += Dim(line(Printable(to_outside(remark))));
    for (const std::string& finding : field.findings) drawn += Red(line("! " + Printable(to_outside(finding))));
  }
  return drawn;
}

}  // namespace vorlix::tool
