// The dialogs of a dictionary as forms: what a real server says of their fields, and what the files say of them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tools/check/checker.h"
#include "tools/session.h"

namespace vorlix::tool {

/// Of the box of a long field; the rest is not drawn.
inline constexpr size_t MOST_LINES = 10;

/// What some attributes of a field come from.
struct Inherited {
  std::string attributes;  // "FLEN, FPREC"
  std::string model;       // the section
  std::string place;       // "muster.dic:8"
};

/// Texts are in the encoding of the server's language.
struct FormField {
  std::string name;
  std::string path;
  std::string object_type;  // "ET"
  std::string type;         // "N"
  std::string value_type;
  std::string format;
  std::string valid;
  std::string default_value;
  std::string shown;   // what the field shows for it, by the filter "format"
  std::string sample;  // what it shows now, of a date, week, month or time
  std::string minimum;
  std::string maximum;
  std::string range;  // "0 to 50000", its own or that of its value type; empty when every value is in range
  size_t length = 0;
  int decimals = 0;
  bool is_required = false;
  std::vector<Inherited> inherited;
  std::vector<std::string> findings;  // a line each, with the place in the file

  /// Whether the value at the beginning is the host's to work out.
  bool IsDefaultOfHost() const;
  bool IsTypedInto() const { return object_type == "ET" || object_type == "ST" || object_type == "OF"; }
};

struct Form {
  std::string name;
  std::string id;
  std::vector<FormField> fields;
};

/// All dialogs of a file, and how it was found.
struct Preview {
  std::string file;
  std::vector<Form> forms;            // in the order of the catalog
  std::vector<std::string> findings;  // of no field
};

/// Opens a dictionary in the server, on a level above all others, with the models that it was checked with. Throws
/// ToolError (OtherCode), which tells the findings, when the server refuses it.
Preview ReadPreview(Session& session, const std::string& file, const Judged& judged, const Checker& checker);

/// Leaves the one dialog of this name or ID; all when it is empty. Throws ToolError (Usage) when there is none.
void KeepDialog(Preview& preview, const std::string& dialog);

/// What a field of an open dialog shows for a value, by the filter "format".
std::string ShownIn(Session& session, const std::string& dialog, const std::string& field, const std::string& value);

/// Why the server refuses a file, a line each: what is wrong with it, and with the models that it inherits from.
std::vector<std::string> RefusalTexts(const Judged& judged, const Checker& checker);

/// What is typed into the field or chosen in it, such as "number, 2 decimals, 0 to 50000".
std::string KindOfField(const FormField& field);

/// "at first $NEXT, which the host works out"; empty when the field begins empty.
std::string DefaultOfField(const FormField& field);

/// The values of a radio button, from FMIN to FMAX; none when these do not bound it, or there are more than `most`.
std::vector<int> ChoicesOfField(const FormField& field, int most);

}  // namespace vorlix::tool
