#include "hostif/dllcleanup.h"

namespace vorlix {

void dll_cleanup() {}

}  // namespace vorlix
