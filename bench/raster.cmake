find_package(PkgConfig REQUIRED)
pkg_check_modules(KRD_CAIRO REQUIRED IMPORTED_TARGET cairo)
pkg_check_modules(KRD_AGG REQUIRED IMPORTED_TARGET libagg)
krd_add_bench(raster LIBS PkgConfig::KRD_CAIRO PkgConfig::KRD_AGG)
