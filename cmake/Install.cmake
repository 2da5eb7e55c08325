# What is installed: library, headers, pkg-config file, CMake package, documents and examples; the program and its pages
# install themselves. Nothing of it names the prefix: it is chosen by `cmake --install --prefix`, and the installed tree
# may be moved.
include(CMakePackageConfigHelpers)

install(TARGETS sbrkit EXPORT sbrkitTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY include/sbrkit DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT sbrkitTargets NAMESPACE sbrkit:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/sbrkit)
configure_package_config_file(cmake/sbrkitConfig.cmake.in ${PROJECT_BINARY_DIR}/sbrkitConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/sbrkit)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/sbrkitConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/sbrkitConfig.cmake ${PROJECT_BINARY_DIR}/sbrkitConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/sbrkit)

# The way from one directory of the installation to another, which holds under every prefix.
function(sbrkit_way_between result from to)
  cmake_path(ABSOLUTE_PATH from BASE_DIRECTORY /prefix NORMALIZE)
  cmake_path(ABSOLUTE_PATH to BASE_DIRECTORY /prefix NORMALIZE)
  cmake_path(RELATIVE_PATH to BASE_DIRECTORY ${from})
  set(${result} ${to} PARENT_SCOPE)
endfunction()

sbrkit_way_between(way_to_prefix ${CMAKE_INSTALL_LIBDIR}/pkgconfig .)
if(IS_ABSOLUTE ${CMAKE_INSTALL_LIBDIR} OR IS_ABSOLUTE ${CMAKE_INSTALL_INCLUDEDIR})
  set(SBRKIT_PC_PREFIX ${CMAKE_INSTALL_PREFIX})
  set(SBRKIT_PC_LIBDIR ${CMAKE_INSTALL_FULL_LIBDIR})
  set(SBRKIT_PC_INCLUDEDIR ${CMAKE_INSTALL_FULL_INCLUDEDIR})
else()
  set(SBRKIT_PC_PREFIX "\${pcfiledir}/${way_to_prefix}")
  set(SBRKIT_PC_LIBDIR "\${prefix}/${CMAKE_INSTALL_LIBDIR}")
  set(SBRKIT_PC_INCLUDEDIR "\${prefix}/${CMAKE_INSTALL_INCLUDEDIR}")
endif()
configure_file(cmake/sbrkit.pc.in ${PROJECT_BINARY_DIR}/sbrkit.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/sbrkit.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# A document is installed where it stands in the source tree, below the directory of documents. Only the headers lie
# elsewhere then: links to them are turned.
function(sbrkit_install_document document)
  cmake_path(GET document PARENT_PATH directory)
  cmake_path(RELATIVE_PATH PROJECT_SOURCE_DIR BASE_DIRECTORY ${PROJECT_SOURCE_DIR}/${directory} OUTPUT_VARIABLE top)
  sbrkit_way_between(headers ${CMAKE_INSTALL_DOCDIR}/${directory} ${CMAKE_INSTALL_INCLUDEDIR})
  if(top STREQUAL ".")
    set(source_headers include)
  else()
    set(source_headers ${top}/include)
  endif()
  file(READ ${document} text)
  string(REPLACE "](${source_headers}/" "](${headers}/" text "${text}")
  file(WRITE ${PROJECT_BINARY_DIR}/documents/${document} "${text}")
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${document})
  install(FILES ${PROJECT_BINARY_DIR}/documents/${document} DESTINATION ${CMAKE_INSTALL_DOCDIR}/${directory})
endfunction()

file(GLOB documents RELATIVE ${PROJECT_SOURCE_DIR} CONFIGURE_DEPENDS
     README.md CHANGELOG.md CODE_OF_CONDUCT.md CONTRIBUTING.md SECURITY.md docs/*.md bench/README.md fuzz/README.md)
foreach(document IN LISTS documents)
  sbrkit_install_document(${document})
endforeach()
install(DIRECTORY docs/pictures DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs)
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DOCDIR} USE_SOURCE_PERMISSIONS)
