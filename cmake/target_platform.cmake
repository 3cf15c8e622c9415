# The libraries and headers of the platform from ZUNIC_PLATFORM_DIR, under the names that platform/ gives them.
# They are looked for there and nowhere else, also when cross-compiling.

find_path(ZUNIC_PLATFORM_INCLUDE_DIR oxa/oxa_result.h
  PATHS ${ZUNIC_PLATFORM_DIR}/include NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH REQUIRED)

foreach(name IN ITEMS oxa_base oxa_command_line oxa_shared_memory oxa_zunic)
  find_library(ZUNIC_PLATFORM_${name} ${name}
    PATHS ${ZUNIC_PLATFORM_DIR}/lib NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH REQUIRED)
  add_library(${name} SHARED IMPORTED)
  set_target_properties(${name} PROPERTIES
    IMPORTED_LOCATION ${ZUNIC_PLATFORM_${name}}
    INTERFACE_INCLUDE_DIRECTORIES ${ZUNIC_PLATFORM_INCLUDE_DIR})
endforeach()
target_link_libraries(oxa_command_line INTERFACE oxa_base)
