#include "tools/lsp/workspace.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <filesystem>

#include "tools/failure.h"
#include "tools/files.h"
#include "tools/quoting.h"

namespace vorlix::tool {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view SCHEME = "file://";

Range RangeAt(const Positions& positions, const Layout& layout, const Span& span) {
  if (span.line >= layout.LineCount()) return {positions.At(SIZE_MAX), positions.At(SIZE_MAX)};
  const size_t start = layout.Start(span.line);
  return {positions.At(start + span.begin), positions.At(start + span.end)};
}

// What is no regular file might never come to an end.
TextEncoding EncodingOfFile(const std::string& path) {
  std::error_code ignored;
  try {
    return fs::is_regular_file(path, ignored) ? EncodingOfText(ReadFile(path)) : TextEncoding::Utf8;
  } catch (const ToolError&) {
    return TextEncoding::Utf8;  // it is not there yet
  }
}

}  // namespace

Range Analysis::RangeOf(const Span& span) const { return RangeAt(*positions, Text(), span); }

Range RangeIn(const Findings& file, const Span& span) {
  const std::string& text = file.layout.Text();
  return RangeAt(Positions(text, EncodingOfText(text)), file.layout, span);
}

Workspace::Workspace(CheckOptions options)
    : checker_([&] {
        options.read = [this](const std::string& path) { return ModelText(path); };
        return std::move(options);
      }()) {}

void Workspace::Open(const std::string& uri, std::string text, int version) {
  Document document{uri, PathOfUri(uri), std::move(text), version};
  document.encoding = EncodingOfFile(document.path);
  NoteChange(documents_.insert_or_assign(uri, std::move(document)).first->second);
}

bool Workspace::Change(const std::string& uri, const std::optional<Range>& range, const std::string& text) {
  const auto found = documents_.find(uri);
  if (found == documents_.end()) return false;
  Document& document = found->second;
  if (range) {
    const Positions positions(document.text, TextEncoding::Utf8);
    const size_t begin = positions.OffsetOf(range->start);
    const size_t end = std::max(begin, positions.OffsetOf(range->end));
    document.text.replace(begin, end - begin, text);
  } else {
    document.text = text;
  }
  NoteChange(document);
  return true;
}

void Workspace::SetVersion(const std::string& uri, int version) {
  const auto found = documents_.find(uri);
  if (found != documents_.end()) found->second.version = version;
}

void Workspace::Close(const std::string& uri) {
  const auto found = documents_.find(uri);
  if (found == documents_.end()) return;
  NoteChange(found->second);
  documents_.erase(found);
}

void Workspace::Refresh() {
  checker_.ForgetModels();
  analysed_ = nullptr;
  for (auto& [uri, document] : documents_) document.is_new = true;
}

// A change of a model is one of all that inherit from it.
void Workspace::NoteChange(Document& document) {
  document.is_new = true;
  analysed_ = nullptr;
  if (document.path == "-") return;
  if (IsAmong(document.path, checker_.ModelPaths())) checker_.ForgetModels();
  for (auto& [uri, other] : documents_) other.is_new = other.is_new || IsAmong(document.path, other.models);
}

const Document* Workspace::Find(const std::string& uri) const {
  const auto found = documents_.find(uri);
  return found != documents_.end() ? &found->second : nullptr;
}

const Document* Workspace::FindByPath(const std::string& path) const {
  std::error_code ignored;
  for (const auto& [uri, document] : documents_)
    if (document.path == path || (document.path != "-" && fs::equivalent(document.path, path, ignored)))
      return &document;
  return nullptr;
}

std::vector<const Document*> Workspace::Documents() const {
  std::vector<const Document*> all;
  for (const auto& [uri, document] : documents_) all.push_back(&document);
  return all;
}

std::vector<const Document*> Workspace::TakeNew() {
  std::vector<const Document*> taken;
  for (auto& [uri, document] : documents_)
    if (std::exchange(document.is_new, false)) taken.push_back(&document);
  return taken;
}

const Analysis& Workspace::Analyse(const Document& document) {
  if (analysed_ == &document) return *analysis_;
  TextEncoding encoding = document.encoding;
  const std::string encoded = encoding == TextEncoding::Latin1 ? Encode(document.text, encoding) : "";
  const std::string& text = encoding == TextEncoding::Latin1 ? encoded : document.text;
  try {
    analysis_ = Analysis{checker_.Check(document.path, &text), encoding};
    analysis_->failure = UnreadModels();
  } catch (const ToolError& error) {
    analysis_ = Analysis{{{document.path, Layout(text)}, FileKind::Dictionary, nullptr}, encoding};
    analysis_->failure = error.what();
  }
  analysis_->positions = std::make_unique<Positions>(analysis_->Text().Text(), encoding);
  analysed_ = &document;
  documents_.at(document.uri).models = checker_.ModelPaths();
  return *analysis_;
}

// A model that cannot be read is an empty one: what else there is to say is said all the same.
std::string Workspace::ModelText(const std::string& path) {
  unread_.erase(path);
  try {
    return TextOf(path);
  } catch (const ToolError& error) {
    unread_[path] = error.what();
    return "";
  }
}

std::string Workspace::UnreadModels() const {
  std::string all;
  for (const std::string& path : checker_.ModelPaths())
    if (const auto found = unread_.find(path); found != unread_.end())
      all += (all.empty() ? "a model: " : "; ") + found->second;
  return all;
}

std::string Workspace::TextOf(const std::string& path) const {
  const Document* const document = FindByPath(path);
  if (document == nullptr) return ReadFile(path);
  TextEncoding encoding = document->encoding;
  return Encode(document->text, encoding);
}

std::string PathOfUri(const std::string& uri) {
  if (!uri.starts_with(SCHEME)) return "-";
  const size_t begin = uri.find('/', SCHEME.size());  // behind the name of a host
  std::string path;
  for (size_t at = begin; at < uri.size(); ++at) {
    unsigned byte = 0;
    const char* const digits = uri.data() + at + 1;
    const bool is_escape =
        uri[at] == '%' && at + 2 < uri.size() && std::from_chars(digits, digits + 2, byte, 16).ptr == digits + 2;
    path += is_escape ? static_cast<char>(byte) : uri[at];
    if (is_escape) at += 2;
  }
  return path.empty() || path.find('\0') != std::string::npos ? "-" : path;
}

std::string UriOfPath(const std::string& path) {
  std::error_code ignored;
  return std::string(SCHEME) + PercentEncoded(fs::absolute(path, ignored).lexically_normal().string());
}

}  // namespace vorlix::tool
