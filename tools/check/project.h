// vorlix.ini: what the files of a directory, and of those below it, are checked with.
//
//   [check]
//   models=muster.dic,other.dic     model dictionaries, beside this file
//   modules=app.mdf                 module files, where their content does not tell
//   ignore=VX620,VX627              findings that are not wanted
//   language=de_DE                  of the server, where the command line names none
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vorlix::tool {

struct Project {
  std::string path;                  // of vorlix.ini; empty when there is none
  std::vector<std::string> models;   // paths
  std::vector<std::string> modules;  // paths of module files
  std::vector<std::string> ignore;   // codes
  std::string language;              // empty: as the environment says
};

/// The project that a file belongs to: of vorlix.ini in its directory, or in the nearest one above. Empty when there is
/// none. Throws ToolError (Usage), with the line, when it says what nobody knows.
Project FindProject(const std::string& file);

/// What stands between any of the separators, without blanks around it, and where that is something.
std::vector<std::string> SplitList(std::string_view text, std::string_view separators);

}  // namespace vorlix::tool
