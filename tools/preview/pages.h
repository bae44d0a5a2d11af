// The pages of a preview that browsers have open.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "tools/preview/live.h"

namespace vorlix::tool {

/// So many at once; one that has not been heard of for so long is closed, and its server ends.
inline constexpr size_t MOST_PAGES = 16;
inline constexpr std::chrono::seconds LONGEST_IDLE{60};

/// Why a page cannot be had, with the status of HTTP.
struct Refusal {
  int status;
  std::string reason;
};

/// 32 hexadecimal digits that nobody can guess. Throws ToolError (OtherCode) when the system has none.
std::string RandomToken();

/// Any thread may use it.
class Pages {
 public:
  struct Opened {
    std::string token;
    std::shared_ptr<LivePage> page;
  };

  /// Throws Refusal when there are MOST_PAGES, and as LivePage does.
  Opened Open(const Options& options, const PreviewCommand& command);

  /// The page, which was heard of now; null when it is not open.
  std::shared_ptr<LivePage> Find(const std::string& token);

  void Close(const std::string& token);
  void CloseIdle();
  void CloseAll();

 private:
  std::string Reserve();
  template <class IsMeant>
  void CloseIf(IsMeant is_meant);

  std::mutex lock_;
  std::map<std::string, std::shared_ptr<LivePage>> pages_;  // null: it is being opened
};

}  // namespace vorlix::tool
