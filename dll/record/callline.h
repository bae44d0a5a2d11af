// The call in the block as a line of a script: what the host sent, and what came back as its expectation.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "dll/wire/functable.h"
#include "hostif/dllif.h"
#include "hostif/dllifutil.h"

namespace vorlix {

/// The line of one call. What the client library sends for a plain line is a plain line; any other call is a line with
/// "place", in which each argument says its class, its capacity and how it is passed. What no script can send is told
/// in comments.
///
/// The block belongs to another process as well: what is appended of it is a copy that was checked, however often the
/// host changes it meanwhile.
class CallLine {
 public:
  /// Reads the descriptors of the call that the header copy speaks of. Throws std::bad_alloc.
  void Read();

  /// Appends what was sent. Throws std::bad_alloc.
  void AppendCall(std::string& line);

  /// Reads the outcome, and appends it as expectations. Of a call that has succeeded, the texts that stood before in
  /// what was only returned are taken out of the line again: they say nothing. Throws std::bad_alloc.
  void AppendOutcome(std::string& line, int32_t result);

  /// The path in the argument that names a file; empty when there is none. Throws std::bad_alloc.
  std::string FileName() const;

  /// The function, null when no function has the name; it need not have been called as it wants to be.
  const FunctionEntry* Function() const { return function_; }

 private:
  // Arguments of one call, the function's name included; calls with more are told in a comment.
  static constexpr int32_t MOST_ARGS = 64;

  struct Sent {
    ArgDesc desc;
    size_t text_at = 0;  // where its text stands in the line, in quotes; size 0 when it does not
    size_t text_size = 0;
  };

  bool ReadDescriptors();
  bool IsPlain() const;
  ArgInfo Arg(size_t k) const;
  static void AppendPlain(std::string& line, const ArgInfo& arg, Sent& sent);
  static bool IsStill(std::string_view line, const Sent& sent);
  static void AppendPlaced(std::string& line, Sent& sent);
  void AppendUnsayable(std::string& line) const;

  const FunctionEntry* function_ = nullptr;
  std::string name_;
  std::array<Sent, MOST_ARGS> args_;
  size_t count_ = 0;
  bool is_sayable_ = false;
  bool has_all_args_ = false;  // as many as the function declares
  std::string outcome_;
};

}  // namespace vorlix
