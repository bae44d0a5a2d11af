// The page's own files, built in from tools/preview/web (cmake/web.cmake).
#pragma once

namespace vorlix::tool {

extern const char* const WEB_INDEX;
extern const char* const WEB_SCRIPT;
extern const char* const WEB_STYLE;

}  // namespace vorlix::tool
