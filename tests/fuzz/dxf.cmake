if(TARGET krd_sheet)
  target_link_libraries(dxf_fuzz PRIVATE krd_sheet krd_app_common)
endif()
