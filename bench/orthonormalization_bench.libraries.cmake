pkg_check_modules(OPENBLAS REQUIRED IMPORTED_TARGET openblas)
set(libraries PkgConfig::OPENBLAS)
