# A C program that brings its own companion operations and uses the shared library.
add_executable(companion_host companion_host.c)
target_link_libraries(companion_host PRIVATE sbrkit::sbrkit sbrkit_options)
add_test(NAME CompanionHost.LabelsComeToTheHost COMMAND companion_host labels)
add_test(NAME CompanionHost.TheTimeMonitorComesToTheHost COMMAND companion_host monitor)
set(libraries)
