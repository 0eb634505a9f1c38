# Debian packages: `cpack --config build/release/CPackConfig.cmake`. For Debian's folders the tree is configured with
# CMAKE_INSTALL_PREFIX=/usr, as the preset release does.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "project_sharing_profiles developers <developers@project-sharing.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_CURRENT_BINARY_DIR}/src")
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

# The time is SOURCE_DATE_EPOCH's where that is set.
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(cmake/debian/changelog.in changelog @ONLY)
execute_process(COMMAND gzip -9nf "${CMAKE_CURRENT_BINARY_DIR}/changelog" COMMAND_ERROR_IS_FATAL ANY)

function(project_sharing_package component name section depends description)
  string(TOUPPER "CPACK_DEBIAN_${component}" variables)
  set(${variables}_PACKAGE_NAME ${name} PARENT_SCOPE)
  set(${variables}_PACKAGE_SECTION ${section} PARENT_SCOPE)
  set(${variables}_PACKAGE_DEPENDS "${depends}" PARENT_SCOPE)
  set(${variables}_DESCRIPTION "${description}" PARENT_SCOPE)
  install(FILES CHANGELOG.md cmake/debian/copyright "${CMAKE_CURRENT_BINARY_DIR}/changelog.gz"
          DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/${name}" COMPONENT ${component} EXCLUDE_FROM_ALL)
endfunction()

set(library libproject-sharing-profiles)
set(library_package ${library}${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA "${CMAKE_CURRENT_SOURCE_DIR}/cmake/debian/triggers")
project_sharing_package(runtime ${library_package} libs "" "what leaves a project when it is shared (library)
Keeps export profiles in a project's metadata: stored rules that say, by the
labels attached, which files, folders and labels are stripped from a copy of
the project that is handed out.")
project_sharing_package(dev ${library}-dev libdevel "${library_package} (= ${PROJECT_VERSION})"
  "what leaves a project when it is shared (development files)
Headers of the library and of the interfaces that a host application
implements, files for CMake and pkg-config, and an example.")
install(FILES cmake/README.installed.md RENAME README.md DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/${library}-dev"
        COMPONENT dev EXCLUDE_FROM_ALL)
project_sharing_package(tool project-share utils "${library_package} (>= ${PROJECT_VERSION})"
  "hands out copies of a folder without what is labelled to be held back
Makes a folder a project, attaches labels to what lies in it, and keeps
profiles that say what is held back; shows beforehand what a copy would hold,
refuses where something might leave that was not meant to, and checks a copy
against a receipt.")
project_sharing_package(testkit project-sharing-testkit libdevel "${library}-dev (= ${PROJECT_VERSION}), libgtest-dev"
  "checks that a host keeps the contract of project_sharing_profiles
Tests that developers of a host application run on their own implementation of
the interfaces that the library works on.")

set(CPACK_COMPONENTS_ALL runtime dev host tool)
if(PROJECT_SHARING_TESTKIT)
  list(APPEND CPACK_COMPONENTS_ALL testkit)
endif()
include(CPack)
cpack_add_component(dev GROUP dev)
cpack_add_component(host GROUP dev)
