/*
 * aputil_version.h - the library's version, the one place it is set (the
 * build, the pkg-config file, the CMake package and the tools' --version
 * all take it from here).
 */
#ifndef APUTIL_VERSION_H
#define APUTIL_VERSION_H

#define APUTIL_VERSION_MAJOR 1
#define APUTIL_VERSION_MINOR 1
#define APUTIL_VERSION_PATCH 0

#define APUTIL_VERSION_STR_(x) #x
#define APUTIL_VERSION_STR(x) APUTIL_VERSION_STR_(x)
/* "MAJOR.MINOR.PATCH" */
#define APUTIL_VERSION \
    APUTIL_VERSION_STR(APUTIL_VERSION_MAJOR) "." APUTIL_VERSION_STR(APUTIL_VERSION_MINOR) "." APUTIL_VERSION_STR(APUTIL_VERSION_PATCH)

#endif /* APUTIL_VERSION_H */
