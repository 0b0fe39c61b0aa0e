/**
 * @file
 * @brief mmskit's version. CMake writes this file from the version of its project: change it there.
 */
#ifndef MMSKIT_VERSION_H
#define MMSKIT_VERSION_H

/** "1.2.3" for people; major, minor and patch for the preprocessor. */
#define MMSKIT_VERSION "0.1.0"
/** The first number. */
#define MMSKIT_VERSION_MAJOR 0
/** The second number. */
#define MMSKIT_VERSION_MINOR 1
/** The third number. */
#define MMSKIT_VERSION_PATCH 0

#ifdef __cplusplus
extern "C" {
#endif

/** The version of the library that is linked, which need not be that of these headers: a static
 * text as MMSKIT_VERSION. */
const char* fnMMS_GetVersion(void);

#ifdef __cplusplus
}
#endif

#endif
