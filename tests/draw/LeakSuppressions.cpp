#include "sorn/Export.h"

// Fontconfig keeps what it has read of the system's fonts until the process ends. Nothing else is excused.
extern "C" SORN_EXPORT const char* __lsan_default_suppressions();  // NOLINT(bugprone-reserved-identifier)
const char* __lsan_default_suppressions() { return "leak:libfontconfig\n"; }
