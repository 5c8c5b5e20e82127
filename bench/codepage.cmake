krd_add_bench(codepage)
