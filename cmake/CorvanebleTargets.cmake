# What every target of this project is compiled with, and where its products go.

# A compiler cache makes switching between presets cheap; used when there is one.
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

if(WIN32) # programs beside the library, where it is found
  set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}")
endif()

# The compile and link options of one target of ours. Sanitizers go to every target: a program has
# them whole or not at all.
function(corvaneble_target target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic)
  if(CORVANEBLE_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  if(CORVANEBLE_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${CORVANEBLE_SANITIZE}
                                             -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE -fsanitize=${CORVANEBLE_SANITIZE})
    # Also programs in C: the library in them brings what the C++ run time has to answer.
    set_target_properties(${target} PROPERTIES LINKER_LANGUAGE CXX)
  endif()
  if(MINGW)
    # Programs and library stand alone: they import nothing but the system's own libraries.
    target_link_options(${target} PRIVATE -static)
  endif()
endfunction()
