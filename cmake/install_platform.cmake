# The tool with the libraries of platform/, in a folder that the programs know. The prefix may be moved afterwards.

# Not the folder of the system's libraries: these stand in for the platform's own, which may lie there.
set(private_lib_folder ${CMAKE_INSTALL_LIBDIR}/zunic_enquirer)
set(platform_libraries oxa_base oxa_command_line oxa_shared_memory oxa_zunic)

# Lets targets that are installed into `folder` find the platform's libraries, wherever the prefix is.
function(set_run_path folder)
  file(RELATIVE_PATH to_libraries /prefix/${folder} /prefix/${private_lib_folder})
  set_target_properties(${ARGN} PROPERTIES INSTALL_RPATH "$ORIGIN/${to_libraries}")
endfunction()

set_run_path(${CMAKE_INSTALL_BINDIR} zunic_enquirer zunic_inspect zunic_demo_bus)
set_run_path(${CMAKE_INSTALL_LIBEXECDIR}/zunic_enquirer zunic_demo_participant)
set_target_properties(${platform_libraries} PROPERTIES INSTALL_RPATH "$ORIGIN")

install(TARGETS zunic_enquirer zunic_inspect RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
# Without the links and headers that one would compile with: others build against the platform's own.
install(TARGETS ${platform_libraries} LIBRARY DESTINATION ${private_lib_folder} NAMELINK_SKIP)
