# What is installed on Linux, and the tarball and Debian package made of it (cpack). Windows is packed by
# scripts/package.sh.
set(CMAKE_INSTALL_DOCDIR share/doc/orvexarguments CACHE PATH "Documents")
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(headers_folder ${CMAKE_INSTALL_INCLUDEDIR}/orvex)
set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/OrvexArguments)

# What a client includes, and what that includes in its turn.
set(headers
    failures/OrvexException.h
    values/Arg.h values/ArgArguments.h values/ArgFactory.h values/ArgPackager.h values/ArgTypes.h values/Locks.h
    values/RawArg.h values/RefCounted.h values/Serialize.h
    arguments/Arguments.h arguments/EntryTable.h arguments/KeywordRows.inc arguments/Keywords.h arguments/TokenString.h
    names/Names.h
    logging/LineQueue.h logging/LogWrapper.h logging/Logger.h logging/StripedCount.h logging/TraceMask.h
    platform/ComRuntime.h platform/DebugOutput.h platform/Modules.h platform/OleAuto.h platform/Platform.h
    platform/Processes.h platform/Registry.h platform/Sync.h platform/Text.h platform/TypeLib.h platform/WinTypes.h
    platform/WindowMessages.h
    component/Interfaces.h
    tools/MemoryStream.h)
foreach(header IN LISTS headers)
    get_filename_component(folder ${header} DIRECTORY)
    install(FILES ${header} DESTINATION ${headers_folder}/${folder})
endforeach()

# Programs and the module find the platform library beside where they were installed, wherever that is.
file(RELATIVE_PATH from_programs /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
set(programs orvexargs orvextraceserver orvexreg orvexdebugview)
set_target_properties(${programs} PROPERTIES INSTALL_RPATH "$ORIGIN/${from_programs}")
set_target_properties(OrVexComArguments PROPERTIES INSTALL_RPATH "$ORIGIN/..")
set_target_properties(orvexplatform PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
set_target_properties(memorystream PROPERTIES OUTPUT_NAME orvexmemorystream)
set(libraries orvexplatform orvexarguments orvexinterfaces memorystream)
foreach(library IN LISTS libraries)
    target_include_directories(${library} INTERFACE $<INSTALL_INTERFACE:${headers_folder}>)
endforeach()
install(TARGETS ${programs})
install(TARGETS OrVexComArguments LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/orvex)
install(TARGETS ${libraries} EXPORT OrvexArguments)
install(EXPORT OrvexArguments NAMESPACE OrvexArguments:: FILE OrvexArgumentsTargets.cmake DESTINATION ${package_folder})

configure_package_config_file(packaging/OrvexArgumentsConfig.cmake.in OrvexArgumentsConfig.cmake
                              INSTALL_DESTINATION ${package_folder})
write_basic_package_version_file(OrvexArgumentsConfigVersion.cmake COMPATIBILITY SameMajorVersion)
file(RELATIVE_PATH from_pkgconfig /${CMAKE_INSTALL_LIBDIR}/pkgconfig /.)
configure_file(packaging/orvexarguments.pc.in orvexarguments.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/OrvexArgumentsConfig.cmake ${CMAKE_BINARY_DIR}/OrvexArgumentsConfigVersion.cmake
        DESTINATION ${package_folder})
install(FILES ${CMAKE_BINARY_DIR}/orvexarguments.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

file(GLOB pages packaging/man/*.1)
install(FILES ${pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES component/OrvexArguments.idl DESTINATION ${CMAKE_INSTALL_DATADIR}/orvex)
install(FILES README.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs examples DESTINATION ${CMAKE_INSTALL_DOCDIR} PATTERN CMakeLists.txt EXCLUDE)

set(CPACK_GENERATOR DEB TGZ)
set(CPACK_PACKAGE_NAME orvexarguments)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Message bag of a contact-centre telephony platform")
set(CPACK_PACKAGE_CONTACT "Orvex <orvex@example.com>")
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_SOURCE_DIR}/dist)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
include(CPack)
