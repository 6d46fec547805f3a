# 32-bit Windows, cross-built with Debian's mingw-w64 (posix threads).
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86)
set(prefix i686-w64-mingw32)
include("${CMAKE_CURRENT_LIST_DIR}/mingw.cmake")

# Hosts may call with a stack aligned to 4 bytes. SSE2 gives the same floating-point results as on
# other systems.
set(CMAKE_C_FLAGS_INIT "-msse2 -mfpmath=sse -mstackrealign")
set(CMAKE_CXX_FLAGS_INIT "${CMAKE_C_FLAGS_INIT}")
