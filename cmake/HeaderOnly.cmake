# Finds a header-only library. A cross build uses the headers of the build machine, through a link
# to the folder of that library: the rest of /usr/include belongs to another system.
function(corvaneble_header_only package version target folder)
  if(NOT CMAKE_CROSSCOMPILING)
    find_package(${package} ${version} REQUIRED)
    return()
  endif()
  if(TARGET ${target})
    return()
  endif()
  find_path(${package}_HEADERS ${folder} PATHS /usr/include REQUIRED NO_CMAKE_FIND_ROOT_PATH)
  file(MAKE_DIRECTORY "${PROJECT_BINARY_DIR}/headers")
  file(CREATE_LINK "${${package}_HEADERS}/${folder}" "${PROJECT_BINARY_DIR}/headers/${folder}"
       SYMBOLIC)
  add_library(${target} INTERFACE IMPORTED GLOBAL)
  target_include_directories(${target} SYSTEM INTERFACE "${PROJECT_BINARY_DIR}/headers")
endfunction()
