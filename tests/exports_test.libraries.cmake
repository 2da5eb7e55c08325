add_dependencies(sbrkit_test_support sbrkit)
set_source_files_properties(exports_test.cpp PROPERTIES COMPILE_DEFINITIONS "SBRKIT_LIBRARY=\"$<TARGET_FILE:sbrkit>\"")
