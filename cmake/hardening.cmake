# The flags of Debian's packages with all hardening. Debian 12's lack protection of the control flow.

find_program(DPKG_BUILDFLAGS dpkg-buildflags REQUIRED)

# Appends the flags that packages have in `variable` to the CMake variables.
function(append_debian_flags variable)
  execute_process(
    COMMAND ${CMAKE_COMMAND} -E env DEB_BUILD_MAINT_OPTIONS=hardening=+all ${DPKG_BUILDFLAGS} --get ${variable}
    WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
    OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  foreach(name IN LISTS ARGN)
    set(${name} "${${name}} ${flags}" PARENT_SCOPE)
  endforeach()
endfunction()

append_debian_flags(CPPFLAGS CMAKE_CXX_FLAGS)
append_debian_flags(CXXFLAGS CMAKE_CXX_FLAGS)
append_debian_flags(LDFLAGS CMAKE_EXE_LINKER_FLAGS CMAKE_SHARED_LINKER_FLAGS)

if(CMAKE_SYSTEM_PROCESSOR STREQUAL "x86_64")
  # The linker does not set the mark of the shadow stack by itself: Debian's start files lack it, but need nothing for
  # it. For indirect branches they would need code that they do not have.
  string(APPEND CMAKE_CXX_FLAGS " -fcf-protection")
  add_link_options(-Wl,-z,shstk)
elseif(CMAKE_SYSTEM_PROCESSOR STREQUAL "aarch64")
  string(APPEND CMAKE_CXX_FLAGS " -mbranch-protection=standard")
endif()
