# Settings of both Windows toolchains; `prefix` is the prefix of the compiler.
set(CMAKE_C_COMPILER ${prefix}-gcc-posix)
set(CMAKE_CXX_COMPILER ${prefix}-g++-posix)
set(CMAKE_RC_COMPILER ${prefix}-windres)

# Finds programs on the build machine, libraries and headers in the folder of the target system.
# HeaderOnly.cmake finds the header-only libraries on the build machine.
set(CMAKE_FIND_ROOT_PATH /usr/${prefix})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)

# Address randomisation, no executable stack, and reproducible output.
foreach(kind EXE SHARED)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT
      "-Wl,--dynamicbase,--nxcompat,--no-insert-timestamp,--disable-auto-import")
endforeach()
