# The Debian package: `./dev package`. Its prefix is /usr; see the preset "package".

install_compressed(${PROJECT_SOURCE_DIR}/cmake/debian/changelog share/doc/zunic-enquirer changelog)
install(FILES cmake/debian/copyright DESTINATION share/doc/zunic-enquirer)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zunic-enquirer)
set(CPACK_PACKAGE_CONTACT "zunic_enquirer maintainers <maintainers@zunic-enquirer.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "query, report on and inspect a Zunic bus that is in use")
set(CPACK_PACKAGE_DESCRIPTION
"Shows which interfaces are registered on a Zunic channel, by which processes,
how they are connected, and what lies in the message storage. Answers scripts
by exit status, and people with a text report, a dump of the message storage
and a graph.
.
zunic_inspect lists, shows, waits for, checks, compares and saves what is on
a bus, as tables, trees, JSON, a page or metrics, live or from a saved state.
.
With them comes zunic_demo_bus, which hosts a channel with real processes on it
as a scenario file says.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "dlt-daemon, graphviz")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

include(CPack)
