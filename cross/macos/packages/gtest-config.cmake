# The headers alone: tests are compiled here, and neither linked nor run.
foreach(library gmock gtest gtest_main)
    if(NOT TARGET GTest::${library})
        add_library(GTest::${library} INTERFACE IMPORTED)
        target_include_directories(GTest::${library} INTERFACE ${KORVEL_CROSS_HEADERS})
    endif()
endforeach()
