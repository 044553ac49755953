# The exported interface, built a second time with debugging information. scripts/check_boundary.sh compares its ABI
# with the stored ABI in cmake/abi-linux.xml.
set(src ${PROJECT_SOURCE_DIR}/src)
set(interface api/c_api.cpp api/statistic.cpp api/statistic_guard.cpp foundations/datetime.cpp
              foundations/filelock.cpp pellar_accessor/manager_uuid.cpp
              pellar_accessor/operations.cpp pellar_accessor/run.cpp toolkit/kiln2/path.cpp
              toolkit/settor2/product_locations.cpp toolkit/settor2/product_locations_c.cpp)
list(TRANSFORM interface PREPEND ${src}/)
add_library(ostrel_abi SHARED ${interface})
target_compile_options(ostrel_abi PRIVATE -g -O0 -U_FORTIFY_SOURCE)
set_target_properties(ostrel_abi PROPERTIES CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON
                                            EXPORT_COMPILE_COMMANDS OFF) # clang-tidy checks these files only once
target_compile_definitions(ostrel_abi PRIVATE OSTREL_BUILDING)
target_include_directories(ostrel_abi PRIVATE ${src} ${PROJECT_SOURCE_DIR}/include)
target_link_libraries(ostrel_abi PRIVATE Boost::headers log4cplus::log4cplus ostrel_flags)
target_link_options(ostrel_abi PRIVATE LINKER:--version-script=${PROJECT_SOURCE_DIR}/cmake/exports.map)
add_test(NAME boundary COMMAND ${PROJECT_SOURCE_DIR}/scripts/check_boundary.sh --build-dir ${PROJECT_BINARY_DIR})
