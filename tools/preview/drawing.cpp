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

// The first characters of a text, as many as there are columns.
std::string_view Beginning(std::string_view text, size_t columns) {
  size_t bytes = std::min(columns, text.size());
  while (bytes < text.size() && ColumnOf(text, bytes + 1) <= columns) ++bytes;
  return text.substr(0, bytes);
}

// A box as wide as the field, in lines of at most `width` columns, brackets included. A long one is shortened.
std::vector<std::string> DrawBox(std::string_view text, size_t length, size_t width) {
  constexpr std::string_view AND_SO_ON = "...";
  const size_t inside = width - 2;
  std::vector<std::string> lines;
  for (size_t left = std::max(length, Columns(text)); left > 0 && lines.size() < MOST_LINES;) {
    const bool goes_on = left > inside && lines.size() + 1 == MOST_LINES;
    const size_t columns = goes_on ? inside - AND_SO_ON.size() : std::min(left, inside);
    const std::string_view part = Beginning(text, columns);
    lines.push_back((lines.empty() ? "[" : " ") + Padded(std::string(part), columns));
    if (goes_on) lines.back() += AND_SO_ON;
    text.remove_prefix(part.size());
    left -= std::min(left, inside);
  }
  lines.back() += ']';
  return lines;
}

// In lines of at most `width` columns.
std::vector<std::string> DrawChoices(const FormField& field, size_t width) {
  std::vector<std::string> lines;
  const std::string chosen = field.shown.substr(std::min(field.shown.find_first_not_of(' '), field.shown.size()));
  for (const int choice : ChoicesOfField(field, MOST_CHOICES)) {
    const std::string number = std::to_string(choice);
    const std::string drawn = (number == chosen ? "(x) " : "( ) ") + number;
    if (lines.empty() || lines.back().size() + 2 + drawn.size() > width) {
      lines.push_back(drawn);
    } else {
      lines.back() += "  " + drawn;
    }
  }
  if (lines.empty()) lines.push_back('(' + chosen + ')');
  return lines;
}

std::vector<std::string> DrawInput(const FormField& field, size_t width, const Conversion& to_outside) {
  const std::string shown = Printable(to_outside(field.shown));
  if (field.object_type == "CB") return {std::atoi(field.shown.c_str()) != 0 ? "[x]" : "[ ]"};
  if (field.object_type == "RB") return DrawChoices(field, width);
  if (field.object_type == "LB") return {"[" + Padded(shown, std::clamp<size_t>(field.length, 4, width - 4)) + " v]"};
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

  std::string drawn = Bold(Printable(to_outside(form.name))) + "  " + Dim(Printable(to_outside(form.id))) + '\n';
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
