// A file is checked: the server's judgement and the checker's own, without what is switched off.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/check/judge.h"

namespace vorlix::tool {

struct CheckOptions {
  std::vector<std::string> models;                                // paths, besides those of the project
  std::vector<std::string> ignore;                                // codes, likewise
  std::optional<FileKind> kind;                                   // none: by content
  std::string language;                                           // of the server; empty: as the environment says
  std::function<std::string(const std::string& path)> read = {};  // the text of a model; none: from the disk
};

/// Checks files one by one. The models of a project stay open from one file to the next.
class Checker {
 public:
  /// Chooses the language for this whole program, as the server does at its start. Throws ToolError (Usage) when the
  /// system does not have it.
  explicit Checker(CheckOptions options);

  /// A file, or the text that stands for it. Throws ToolError (Usage) when a model cannot be read, or the system does
  /// not have the language of the project.
  Judged Check(const std::string& file, const std::string* text = nullptr);

  /// The models that the last file was checked with, and their paths.
  const Models& OpenModels() const { return *models_; }
  const std::vector<std::string>& ModelPaths() const { return open_; }

  /// The language that the last file was checked in; empty: as the environment says.
  const std::string& Language() const { return language_; }

  /// Closes the models: they have changed, and are read again for the next file.
  void ForgetModels();

 private:
  void UseLanguage(const std::string& language);
  void OpenModelsOf(const std::vector<std::string>& paths, const std::string& file);

  CheckOptions options_;
  std::string language_;  // in use; empty: as the environment says
  std::unique_ptr<Models> models_;
  std::vector<std::string> open_;  // the paths of the models
};

}  // namespace vorlix::tool
