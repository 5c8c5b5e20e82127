find_package(PkgConfig REQUIRED)
pkg_check_modules(CAIRO REQUIRED IMPORTED_TARGET cairo)
krd_add_bench(draw LIBS PkgConfig::CAIRO)
