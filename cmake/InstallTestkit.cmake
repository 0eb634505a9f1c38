# The suite that host developers run on their own host, as the component testkit.
if(PROJECT_SHARING_TESTKIT)
  set_target_properties(project_sharing_host_conformance PROPERTIES POSITION_INDEPENDENT_CODE ON)
  install(TARGETS project_sharing_host_conformance EXPORT project_sharing_profiles-testkit
          ARCHIVE COMPONENT testkit
          FILE_SET HEADERS DESTINATION "${installed_headers}" COMPONENT testkit)
  install(EXPORT project_sharing_profiles-testkit NAMESPACE project:: DESTINATION "${installed_config}"
          FILE project_sharing_profiles-testkit.cmake COMPONENT testkit)
  add_dependencies(project_sharing_installables project_sharing_host_conformance)
endif()
