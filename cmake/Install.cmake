# What is installed, by component: runtime, dev, host (a real host has headers of its own in their place) and tool; the
# testkit has its own file. The installed tree can be moved.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# Folders may be given with their whole paths. Those of headers are named from the prefix on even where they lie apart from
# it: an exported file set knows no others.
foreach(folder BINDIR DATADIR INCLUDEDIR LIBDIR MANDIR)
  set(given "${CMAKE_INSTALL_${folder}}")
  cmake_path(IS_PREFIX CMAKE_INSTALL_PREFIX "${given}" is_below)
  if(IS_ABSOLUTE "${given}" AND (is_below OR folder STREQUAL "INCLUDEDIR"))
    file(RELATIVE_PATH CMAKE_INSTALL_${folder} "${CMAKE_INSTALL_PREFIX}" "${given}")
  endif()
endforeach()

set(installed_headers "${CMAKE_INSTALL_INCLUDEDIR}/project_sharing_profiles")
set(installed_config "${CMAKE_INSTALL_LIBDIR}/cmake/project_sharing_profiles")
set(installed_guides "${CMAKE_INSTALL_DATADIR}/project_sharing_profiles")

add_custom_target(project_sharing_installables DEPENDS project_sharing_profiles)

target_include_directories(project_sharing_host INTERFACE "$<INSTALL_INTERFACE:${installed_headers}/host>")
install(DIRECTORY "${host_headers}/" DESTINATION "${installed_headers}/host" COMPONENT host
        PATTERN CMakeLists.txt EXCLUDE)
install(TARGETS project_sharing_profiles project_sharing_host EXPORT project_sharing_profiles
        LIBRARY COMPONENT runtime NAMELINK_COMPONENT dev
        ARCHIVE COMPONENT dev
        FILE_SET HEADERS DESTINATION "${installed_headers}" COMPONENT dev)
install(EXPORT project_sharing_profiles NAMESPACE project:: FILE project_sharing_profiles-targets.cmake
        DESTINATION "${installed_config}" COMPONENT dev)

configure_package_config_file(cmake/project_sharing_profiles-config.cmake.in project_sharing_profiles-config.cmake
                              INSTALL_DESTINATION "${installed_config}")
write_basic_package_version_file(project_sharing_profiles-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/project_sharing_profiles-config.cmake"
              "${CMAKE_CURRENT_BINARY_DIR}/project_sharing_profiles-config-version.cmake"
        DESTINATION "${installed_config}" COMPONENT dev)
install(FILES cmake/host_layout.cpp.in RENAME host_layout.cpp DESTINATION "${installed_config}" COMPONENT dev)

set(pc_prefix "${CMAKE_INSTALL_PREFIX}")
if(NOT IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  set(pc_prefix "/")
  cmake_path(RELATIVE_PATH pc_prefix BASE_DIRECTORY "/${CMAKE_INSTALL_LIBDIR}/pkgconfig")
  set(pc_prefix "\${pcfiledir}/${pc_prefix}")
endif()
set(pc_libdir "${CMAKE_INSTALL_LIBDIR}")
set(pc_includedir "${installed_headers}")
set(pc_guides "${installed_guides}")
foreach(folder pc_libdir pc_includedir pc_guides)
  cmake_path(ABSOLUTE_PATH ${folder} BASE_DIRECTORY "\${prefix}")
endforeach()
set(pc_definitions "")
if(library_kind STREQUAL "STATIC")
  set(pc_definitions " -DPROJECT_SHARING_PROFILES_STATIC_DEFINE")
endif()
configure_file(cmake/project_sharing_profiles.pc.in project_sharing_profiles.pc @ONLY)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/project_sharing_profiles.pc"
        DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT dev)

install(FILES examples/first_profile.cpp examples/run.cpp DESTINATION "${installed_guides}/examples" COMPONENT dev)
install(DIRECTORY examples/tiny_host DESTINATION "${installed_guides}/examples" COMPONENT dev)

# Beside the examples, to which they lead.
install(FILES docs/abi.md docs/conformance.md docs/errors.md docs/host-guide.md docs/stored-format.md
        DESTINATION "${installed_guides}/docs" COMPONENT dev)
install(FILES cmake/README.installed.md RENAME README.md DESTINATION "${installed_guides}" COMPONENT dev)

if(TARGET project-share)
  install(FILES docs/tour.md docs/how-do-i.md docs/program.md docs/errors.md docs/json.md docs/server.md
          DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/project-share" COMPONENT tool)
  install(FILES server_store/schema.sql server_store/roles.sql server_store/trim.sql
          DESTINATION "${CMAKE_INSTALL_DATADIR}/project-share" COMPONENT tool)
  set(libraries_from_programs "${CMAKE_INSTALL_LIBDIR}")
  if(NOT IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
    file(RELATIVE_PATH libraries_from_programs "/${CMAKE_INSTALL_BINDIR}" "/${CMAKE_INSTALL_LIBDIR}")
    string(PREPEND libraries_from_programs "$ORIGIN/")
  endif()
  set_target_properties(project-share PROPERTIES INSTALL_RPATH "${libraries_from_programs}")
  install(TARGETS project-share COMPONENT tool)
  install(FILES tools/project-share/completion/project-share.bash RENAME project-share
          DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions" COMPONENT tool)
  install(FILES tools/project-share/completion/_project-share
          DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions" COMPONENT tool)
  install(FILES tools/project-share/completion/project-share.fish
          DESTINATION "${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d" COMPONENT tool)
  add_dependencies(project_sharing_installables project-share)

  find_program(SCDOC scdoc)
  if(SCDOC)
    set(manual "${CMAKE_CURRENT_BINARY_DIR}/project-share.1.gz")
    set(manual_source "${CMAKE_CURRENT_SOURCE_DIR}/docs/man/project-share.1.scd")
    add_custom_command(OUTPUT "${manual}" DEPENDS "${manual_source}" VERBATIM
                       COMMAND "${SCDOC}" < "${manual_source}" | gzip -9n > "${manual}")
    add_custom_target(project_sharing_manual ALL DEPENDS "${manual}")
    add_dependencies(project_sharing_installables project_sharing_manual)
    install(FILES "${manual}" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT tool)
  else()
    message(STATUS "No manual page: there is no scdoc")
  endif()
endif()
