# What `cmake --install` puts where, but for demo/, which installs itself.

if(ZUNIC_PLATFORM_DIR)
  install(TARGETS zunic_enquirer zunic_inspect RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
else()
  include(cmake/install_platform.cmake)
endif()

find_program(GZIP gzip REQUIRED)

# Installs a file compressed, without a time stamp, so that the same file always gives the same bytes.
function(install_compressed file folder name)
  set(compressed ${PROJECT_BINARY_DIR}/compressed/${name}.gz)
  file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/compressed)
  add_custom_command(OUTPUT ${compressed} COMMAND ${GZIP} -9nc ${file} > ${compressed} DEPENDS ${file} VERBATIM)
  add_custom_target(compress_${name} ALL DEPENDS ${compressed})
  install(FILES ${compressed} DESTINATION ${folder})
endfunction()

install_compressed(${PROJECT_SOURCE_DIR}/docs/man/zunic_enquirer.1 ${CMAKE_INSTALL_MANDIR}/man1 zunic_enquirer.1)
install_compressed(${PROJECT_SOURCE_DIR}/docs/man/zunic_inspect.1 ${CMAKE_INSTALL_MANDIR}/man1 zunic_inspect.1)
if(TARGET zunic_demo_bus)
  install_compressed(${PROJECT_SOURCE_DIR}/docs/man/zunic_demo_bus.1 ${CMAKE_INSTALL_MANDIR}/man1 zunic_demo_bus.1)
endif()

# Debian's zsh looks for the completions of packages in a folder of its own.
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr" AND EXISTS /etc/debian_version)
  set(zsh_folder vendor-completions)
else()
  set(zsh_folder site-functions)
endif()
foreach(program zunic_enquirer zunic_inspect)
  install(FILES completions/_${program} DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/${zsh_folder})
  install(FILES completions/${program}.bash
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME ${program})
endforeach()

# The formats of what zunic_inspect writes and reads, and alerts for its metrics.
file(GLOB schemas CONFIGURE_DEPENDS docs/*.schema.json)
install(FILES ${schemas} docs/zunic_alerts.yml DESTINATION ${CMAKE_INSTALL_DATADIR}/zunic_enquirer)
