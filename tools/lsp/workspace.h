// The documents that are open in the editor, and what the checker makes of each.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/check/checker.h"
#include "tools/lsp/positions.h"

namespace vorlix::tool {

struct Document {
  std::string uri;
  std::string path;  // "-" when it is no file
  std::string text;  // in UTF-8, as the editor has it
  int version = 0;
  TextEncoding encoding = TextEncoding::Utf8;  // that of the file on the disk, which the server will read
  std::vector<std::string> models = {};        // that it was checked with
  bool is_new = true;                          // nobody was told of its findings as it stands
};

/// A document as it was judged.
struct Analysis {
  Judged judged;
  TextEncoding encoding = TextEncoding::Utf8;
  std::unique_ptr<Positions> positions = {};  // of the text that was judged
  std::string failure = {};                   // models that could not be read, or why it could not be judged

  const Layout& Text() const { return judged.findings.layout; }
  Range RangeOf(const Span& span) const;
};

/// The places of a file that was read, such as a model.
Range RangeIn(const Findings& file, const Span& span);

class Workspace {
 public:
  explicit Workspace(CheckOptions options);
  Workspace(const Workspace&) = delete;
  Workspace& operator=(const Workspace&) = delete;

  void Open(const std::string& uri, std::string text, int version);
  /// Replaces a range, or everything. False when there is no such document.
  bool Change(const std::string& uri, const std::optional<Range>& range, const std::string& text);
  void SetVersion(const std::string& uri, int version);
  void Close(const std::string& uri);
  /// Files have changed on the disk.
  void Refresh();

  const Document* Find(const std::string& uri) const;
  std::vector<const Document*> Documents() const;
  /// Those that changed since they were taken last, or whose models did.
  std::vector<const Document*> TakeNew();

  /// The findings of a document and what the server made of it, until the next one is analysed or anything changes.
  const Analysis& Analyse(const Document& document);
  /// The models of the document that was analysed last.
  const Models& OpenModels() const { return checker_.OpenModels(); }

  /// The text of a file, as it is open in the editor or stands on the disk. Throws ToolError.
  std::string TextOf(const std::string& path) const;

 private:
  std::string ModelText(const std::string& path);
  std::string UnreadModels() const;
  const Document* FindByPath(const std::string& path) const;
  void NoteChange(Document& document);

  std::map<std::string, Document> documents_;  // by their addresses
  std::map<std::string, std::string> unread_;  // models, by their paths, and why they could not be
  Checker checker_;
  std::optional<Analysis> analysis_;
  const Document* analysed_ = nullptr;
};

/// The path that an address names, "-" for none; and the address of a path.
std::string PathOfUri(const std::string& uri);
std::string UriOfPath(const std::string& path);

}  // namespace vorlix::tool
