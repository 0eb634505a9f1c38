# The suite that host developers run on their own host, as the component testkit.
if(TARGET host_conformance)
  set_target_properties(host_conformance PROPERTIES POSITION_INDEPENDENT_CODE ON)
  target_include_directories(host_conformance INTERFACE "$<INSTALL_INTERFACE:${installed_headers}>")
  install(TARGETS host_conformance EXPORT project_sharing_profiles-testkit ARCHIVE COMPONENT testkit)
  install(FILES host_conformance/HostConformance.h DESTINATION "${installed_headers}/host_conformance"
          COMPONENT testkit)
  install(EXPORT project_sharing_profiles-testkit NAMESPACE project:: DESTINATION "${installed_config}"
          FILE project_sharing_profiles-testkit.cmake COMPONENT testkit)
  add_dependencies(project_sharing_installables host_conformance)
endif()
