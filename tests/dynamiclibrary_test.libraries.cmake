if(NOT TARGET sbrkit_test_plugins)
  add_subdirectory(plugins)
endif()
set(libraries sbrkit_test_plugins)
# A C++ program that uses the loader class of the shared library.
add_executable(loader_host loader_host.cpp)
target_link_libraries(loader_host PRIVATE sbrkit::sbrkit sbrkit_options)
add_dependencies(loader_host sbrkit_plugins_built)
add_test(NAME LoaderHost.SharesTheLoaderWithTheLibrary COMMAND loader_host $<TARGET_FILE:plugin_hooked>)
