find_library(KRD_BLOSC blosc REQUIRED)
krd_add_bench(pack LIBS ${KRD_BLOSC})
