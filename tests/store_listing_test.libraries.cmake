if(NOT TARGET sbrkit_test_plugins)
  add_subdirectory(plugins)
endif()
set(libraries sbrkit_test_plugins)
