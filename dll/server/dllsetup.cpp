#include <cstdio>

#include "dll/record/recording.h"
#include "dll/server/nls.h"
#include "hostif/dllcleanup.h"

namespace vorlix {

int dll_setup() {
  constexpr int EXIT_NO_LANGUAGE = 1;
  StartRecordingFromEnvironment();
  const ResultCode code = ChooseLanguageFromEnvironment();
  if (code == RESULT_OK) return 0;
  std::fprintf(stderr, "dll_setup: setup_locale_from_env() failed. Completion code = %d\n", code);
  return EXIT_NO_LANGUAGE;
}

}  // namespace vorlix
