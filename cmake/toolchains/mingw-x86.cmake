# 32-bit Windows, cross-built with Debian's mingw-w64 (posix threads).
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86)
set(prefix i686-w64-mingw32)
include("${CMAKE_CURRENT_LIST_DIR}/mingw.cmake")

# Hosts call with stacks aligned to 4 bytes, and expect floating point as on every other system.
set(CMAKE_C_FLAGS_INIT "-msse2 -mfpmath=sse -mstackrealign")
set(CMAKE_CXX_FLAGS_INIT "${CMAKE_C_FLAGS_INIT}")
