# What the two Windows toolchains share; `prefix` is the compiler's.
set(CMAKE_C_COMPILER ${prefix}-gcc-posix)
set(CMAKE_CXX_COMPILER ${prefix}-g++-posix)
set(CMAKE_RC_COMPILER ${prefix}-windres)

# Programs come from the machine that builds; libraries and headers from the target's folder, and the
# header-only ones of this project's dependencies from the machine's.
set(CMAKE_FIND_ROOT_PATH /usr/${prefix})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)

# Addresses laid out at random, no code on the stack, and the same bytes from the same sources.
foreach(kind EXE SHARED)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT
      "-Wl,--dynamicbase,--nxcompat,--no-insert-timestamp,--disable-auto-import")
endforeach()
