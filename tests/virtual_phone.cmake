# The virtual phone's own test: nothing of the library is linked.
add_executable(virtual_phone_test ${CMAKE_CURRENT_LIST_DIR}/virtual_phone_test.cpp)
target_link_libraries(virtual_phone_test PRIVATE virtual_phone GTest::gtest_main)
target_compile_definitions(virtual_phone_test PRIVATE
                           PHONES="${CMAKE_CURRENT_LIST_DIR}/../virtual_phone/phones")
# Looked for when the tests run, so that a cross build needs no emulator.
gtest_discover_tests(virtual_phone_test DISCOVERY_MODE PRE_TEST)
