if(TARGET krd_sheet)
  target_link_libraries(sheet_test PRIVATE krd_sheet krd_app_common)
endif()
