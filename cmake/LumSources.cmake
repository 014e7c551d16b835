# Source collection and the per-tier compile flags.

set(LUM_SOURCE_DIRS frame signal image color jpeg resize)

# Every .cpp and .S of the library folders, except the shared library's own entry file.
function(lum_collect_sources out)
  set(sources)
  foreach(dir IN LISTS LUM_SOURCE_DIRS)
    file(GLOB found CONFIGURE_DEPENDS
      ${PROJECT_SOURCE_DIR}/${dir}/*.cpp ${PROJECT_SOURCE_DIR}/${dir}/*.S)
    list(APPEND sources ${found})
  endforeach()
  list(FILTER sources EXCLUDE REGEX "/frame/module_attach\\.cpp$")
  set(${out} ${sources} PARENT_SCOPE)
endfunction()

# Only t7 files may use SSE3. px files are kept scalar: no auto-vectorisation and no loops turned
# into library memset/memmove calls, so that px stays the plain reference tier and the tier ratios
# of the benchmarks mean something.
function(lum_apply_tier_flags)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    set(scalar_flags -fno-vectorize -fno-slp-vectorize -fno-builtin-memset -fno-builtin-memmove)
  else()
    set(scalar_flags -fno-tree-vectorize -fno-tree-slp-vectorize -fno-tree-loop-distribute-patterns)
  endif()
  foreach(src IN LISTS ARGN)
    if(src MATCHES "_t7\\.cpp$")
      set_property(SOURCE ${src} APPEND PROPERTY COMPILE_OPTIONS -msse3)
    elseif(src MATCHES "_px\\.cpp$")
      set_property(SOURCE ${src} APPEND PROPERTY COMPILE_OPTIONS ${scalar_flags})
    endif()
  endforeach()
endfunction()

# The exported names of the canonical list, optionally with the ones not built yet.
function(lum_read_exports out)
  file(STRINGS ${PROJECT_SOURCE_DIR}/frame/exports.inc lines REGEX "^LUM_(DIRECT|ROW)\\(")
  set(names)
  foreach(line IN LISTS lines)
    string(REGEX REPLACE "^LUM_[A-Z]+\\(([A-Za-z0-9_]+).*" "\\1" name "${line}")
    list(APPEND names ${name})
  endforeach()
  set(${out} ${names} PARENT_SCOPE)
endfunction()

# Linker version script: the built exports are global, everything else local.
function(lum_write_version_script path)
  lum_read_exports(names)
  set(text "{\n  global:\n")
  foreach(name IN LISTS names)
    string(APPEND text "    ${name};\n")
  endforeach()
  string(APPEND text "  local:\n    *;\n};\n")
  file(CONFIGURE OUTPUT ${path} CONTENT "${text}")
endfunction()

set_property(DIRECTORY ${PROJECT_SOURCE_DIR} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
  ${PROJECT_SOURCE_DIR}/frame/exports.inc)
