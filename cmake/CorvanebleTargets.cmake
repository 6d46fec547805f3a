# Compile options and output folders of all targets.

# A compiler cache, if installed, makes it fast to switch between presets.
find_program(CORVANEBLE_CCACHE ccache)
mark_as_advanced(CORVANEBLE_CCACHE)
if(CORVANEBLE_CCACHE AND PROJECT_IS_TOP_LEVEL AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_C_COMPILER_LAUNCHER "${CORVANEBLE_CCACHE}")
  set(CMAKE_CXX_COMPILER_LAUNCHER "${CORVANEBLE_CCACHE}")
endif()

set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_C_STANDARD 99)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)

if(WIN32) # a program finds the DLL in its own folder
  set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}")
endif()

# Sets the compile and link options of a target. All objects of a program must use the same
# sanitizers.
function(corvaneble_target target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic
                                           $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>)
  if(CORVANEBLE_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  if(CORVANEBLE_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${CORVANEBLE_SANITIZE}
                                             -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE -fsanitize=${CORVANEBLE_SANITIZE})
    # C programs too: the objects of the library need the C++ runtime.
    set_target_properties(${target} PROPERTIES LINKER_LANGUAGE CXX)
  endif()
  if(MINGW)
    # Programs and the library import only libraries of Windows.
    target_link_options(${target} PRIVATE -static)
  endif()
endfunction()
