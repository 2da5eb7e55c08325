# Finds the Exodus II library of Debian (libexodusii-dev) and what it stands on, as the target ExodusII::ExodusII.
find_path(ExodusII_INCLUDE_DIR exodusII.h)
find_library(ExodusII_LIBRARY NAMES exoIIv2c exodus)
find_path(ExodusII_NETCDF_INCLUDE_DIR netcdf.h)
find_library(ExodusII_NETCDF_LIBRARY NAMES netcdf)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(ExodusII
  REQUIRED_VARS ExodusII_LIBRARY ExodusII_INCLUDE_DIR ExodusII_NETCDF_LIBRARY ExodusII_NETCDF_INCLUDE_DIR)
mark_as_advanced(ExodusII_INCLUDE_DIR ExodusII_LIBRARY ExodusII_NETCDF_INCLUDE_DIR ExodusII_NETCDF_LIBRARY)

if(ExodusII_FOUND AND NOT TARGET ExodusII::ExodusII)
  add_library(ExodusII::ExodusII UNKNOWN IMPORTED)
  set_target_properties(ExodusII::ExodusII PROPERTIES
    IMPORTED_LOCATION ${ExodusII_LIBRARY}
    INTERFACE_INCLUDE_DIRECTORIES "${ExodusII_INCLUDE_DIR};${ExodusII_NETCDF_INCLUDE_DIR}"
    INTERFACE_LINK_LIBRARIES ${ExodusII_NETCDF_LIBRARY})
endif()
