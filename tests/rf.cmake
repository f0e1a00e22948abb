# Dispatch, driver channel, shell and RF test.
add_phone_test(rf_driver_test rf_driver_test.cpp rf_expect.cpp)
add_phone_test(rf_sequence_test rf_sequence_test.cpp rf_expect.cpp)
add_phone_test(rf_settings_test rf_settings_test.cpp rf_expect.cpp)
#add_phone_test(dispatch_test dispatch_test.cpp)
