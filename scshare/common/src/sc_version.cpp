// The version of the library, as CMake has written it into the header.
#include <mmskit/version.h>

const char* fnMMS_GetVersion(void) {
    return MMSKIT_VERSION;
}
