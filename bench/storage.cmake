find_package(PkgConfig REQUIRED)
pkg_check_modules(KRD_SQLITE REQUIRED IMPORTED_TARGET sqlite3)
pkg_check_modules(KRD_ZIP REQUIRED IMPORTED_TARGET libzip)
krd_add_bench(storage LIBS PkgConfig::KRD_SQLITE PkgConfig::KRD_ZIP)
