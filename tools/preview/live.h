// The preview that lives: what one page of a browser works with.
#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tools/encoding.h"
#include "tools/preview/form.h"
#include "tools/preview/preview.h"

namespace vorlix::tool {

/// A server process of its own, and the forms as the files last made some. Any thread may use it; they take turns.
/// All texts in JSON are UTF-8.
class LivePage {
 public:
  /// Throws as Session does, and ToolError (Usage) when a file cannot be read, or the language or the dialog is not
  /// there.
  LivePage(const Options& options, const PreviewCommand& command);

  /// Whether one of the files is another than when it was last read, or the server has gone.
  bool HasChanged() const;

  /// Reads the files again. When the server refuses them, the forms stay as they were.
  void Reload();

  /// {"file", "language", "version", "good", "findings": [text], "forms": [{"name", "id", "fields": [...]}]}; the
  /// version counts what was read.
  nlohmann::json Show() const;
  int Version() const { return version_; }

  /// What becomes of a text that is typed into a field, or of a value that is chosen in it:
  /// {"accepted", "shown", "stored", "code", "rc", "reason", "note", "at", "script"}. `at` is the place, in
  /// characters, of what is not allowed, -1 for none. Throws ToolError (Usage) for a field that is not there.
  nlohmann::json Type(const std::string& dialog, const std::string& field, const std::string& text);

  /// How long nobody has used it.
  std::chrono::steady_clock::duration Idle() const { return std::chrono::steady_clock::now() - seen_.load(); }
  void Touch() { seen_ = std::chrono::steady_clock::now(); }

 private:
  struct Stamp {
    std::string path;
    timespec modified;
    off_t size;
    ino_t inode;
  };

  void Watch();
  void Read();
  const Form& FindForm(const std::string& id) const;
  const FormField& FindField(const Form& form, const std::string& name) const;
  std::string Utf8(std::string_view text) const;
  std::vector<std::string> Opening() const;
  nlohmann::json Scan(const std::string& dialog, const FormField& field, const std::string& text);
  nlohmann::json Choose(const std::string& dialog, const FormField& field, const std::string& value);
  nlohmann::json JsonField(const FormField& field) const;
  nlohmann::json JsonForms() const;

  mutable std::mutex turn_;
  Options options_;
  PreviewCommand command_;
  Encoding encoding_;  // between UTF-8 and the server's
  std::unique_ptr<Session> session_;
  Preview preview_;
  nlohmann::json forms_ = nlohmann::json::array();  // of the preview
  std::string language_;                            // of the preview's server; empty: as the environment says
  std::vector<std::string> models_;                 // that are open in it
  std::string project_;                             // the path of vorlix.ini, which may come to be there
  std::vector<std::string> watched_;                // the models that the file was last checked with
  std::vector<std::string> refusals_;               // of files that are not those of the forms; empty when they are
  std::vector<Stamp> stamps_;
  bool is_lost_ = false;  // the server has gone
  std::atomic<int> version_ = 0;
  std::atomic<std::chrono::steady_clock::time_point> seen_ = std::chrono::steady_clock::now();
};

}  // namespace vorlix::tool
