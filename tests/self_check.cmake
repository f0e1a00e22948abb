# Self-checks and station utilities of the library, on every chip.
add_phone_test(self_check_test self_check.cpp self_check_chip.cpp self_check_probes.cpp self_check_weld.cpp)
add_phone_test(station_utilities_test self_check.cpp station_utilities.cpp)
