find_package(LAPACK REQUIRED)
set(libraries lapacke LAPACK::LAPACK)
