// Bytes as a script, which is understood or refused for a reason; and as a text, which is the same when it has been
// quoted and read again.
#include "tools/script.h"
#include "fuzz/input.h"
#include "tools/failure.h"
#include "tools/quoting.h"

namespace vorlix::fuzz {

void Run(Input input) {
  const std::string_view text = input.Rest();
  try {
    tool::ParseScript(text, "script");
  } catch (const tool::ToolError& error) {
    Require(error.GetStatus() == tool::Status::Usage, "a script that is refused is wrong");
  }
  const auto words = tool::SplitWords(tool::QuoteWord(text));
  std::string read;
  for (const tool::Word& word : words)
    for (const tool::Piece& piece : word.pieces) read += piece.is_name ? "?" : piece.text;
  Require(words.size() == 1 && read == text, "a quoted text is one word and the same text");
}

}  // namespace vorlix::fuzz
