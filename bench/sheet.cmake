if(TARGET krd_sheet)
  krd_add_bench(sheet LIBS krd_sheet krd_app_common)
endif()
