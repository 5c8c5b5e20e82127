find_package(PkgConfig REQUIRED)
pkg_check_modules(CAIRO REQUIRED IMPORTED_TARGET cairo)
krd_add_bench(text LIBS PkgConfig::CAIRO)
krd_add_resources(text_bench
                  RESOURCE SHP 1 ${PROJECT_SOURCE_DIR}/apps/common/default_font.shp CRLF)
