# Pixel conversion kernels are written with Highway and dispatched at run time.
find_package(hwy REQUIRED)
target_link_libraries(LumoGenICamObjects PUBLIC hwy::hwy)
