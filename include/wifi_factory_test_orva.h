/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file wifi_factory_test_orva.h
 * Factory test of the WLAN chip: what a test tool on the phone calls.
 *
 * Each function asks the platform which chip is fitted and passes its
 * arguments to that chip's back end. Unless a function says otherwise:
 * - the result is 1 for success and 0 for failure;
 * - a missing operation, or an unknown sub-chip index, logs "<function>::funcname is null.\n" at
 * error priority under the tag "WIFI_ORVA_FAC_TEST" and give 0;
 * - pointers belong to the caller and are used only during the call; they are not checked for null unless a
 * function says so;
 * - failures are logged under the chip's own tag ("WIFI_ORVA_FAC_TEST_2050", …);
 * - one caller at a time: the test state is plain globals, there are no locks;
 * - a driver command that is refused is tried once more after 10 ms.
 */
#ifndef WIFI_FACTORY_TEST_ORVA_H
#define WIFI_FACTORY_TEST_ORVA_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#pragma GCC visibility push(default)

/** @name Dispatch */
/** @{ */

/** A back-end function, to be cast to its own type before it is called. */
typedef void (*wifi_func_t)(void);

/**
 * The fitted chip's back-end function for an operation.
 * @param op_id 0 to 39; only the low 8 bits count.
 * @return the function; null for an unknown id, a chip without the operation, or an unknown sub-chip index.
 *         Nothing is logged.
 */
wifi_func_t wifi_get_func(uint32_t op_id);

/** @} */
/** @name RF test settings: stored, and sent when a test starts unless said otherwise */
/** @{ */

/**
 * Sets the transmit power.
 * With test mode off the power goes to the driver at once; with test mode on it waits for wifi_start_tx().
 * @param power in the station's units; the driver gets a tenth of it (vq2040: a hundredth), truncated toward
 * zero.
 * @return 1; 0 when the driver refused. On vq2040 the setting outside test mode is the connection power.
 */
uint32_t wifi_set_power(int32_t power);

/**
 * Sets the protocol mode.
 * @param at_mode the station's mode number, 0 to 6 (vq2070: 0 to 7); only the low 8 bits are looked up.
 * @return 1; 0 for an unknown mode, which wifi_query_setting() reports all the same.
 */
uint32_t wifi_set_mode(int32_t at_mode);

/**
 * Sets the rate.
 * @param rate in the station's units; the driver gets a hundredth (vq2040 and vq2040a: 12150 is sent as 11;
 *        vq2040a: 65 is sent as 0).
 * @return 1.
 */
uint32_t wifi_set_rate(int32_t rate);

/**
 * Sets the bandwidth.
 * @param band 0 = 20 MHz, 1 = 40 MHz, 2 = 80 MHz, 3 = 160 MHz. Not checked here. A test start sends any other
 * value and then fails at the channel, except at 2484 MHz.
 * @return 1.
 */
uint32_t wifi_set_band(int32_t band);

/**
 * Sets the channel.
 * @param channel centre frequency in MHz: 2412 to 2472 or 5180 to 5825 in steps of 5, or 2484. Not checked
 * here.
 * @return 1.
 */
uint32_t wifi_set_channel(int32_t channel);

/**
 * Chooses the MIMO chain.
 * @param chain 1 or 2.
 * @return 1; 0 for another chain. vq2040 refuses every chain; vq2040a has no such operation.
 */
uint32_t wifi_setmimo_channel(int32_t chain);

/**
 * Chooses the antenna; goes to the driver at once.
 * @param antenna 1 is sent as 0, any other value as 1.
 * @return 1; 0 when the driver refused. vq2040a does not ask the driver and gives 0.
 */
uint32_t wifi_set_antenna(int32_t antenna);

/**
 * Reads a setting back. Nothing is sent to the driver.
 * @param item 1 test mode on, 2 mode, 3 channel (MHz), 4 frequency (never set), 5 power, 7 rate, 9 transmit
 * on, 10 receive on, 11 antenna, 13 memory test time (and, on vq2050 and vq2070, marks a running test for the
 *        chip check).
 * @return the value; -1 for an unknown item, and for channel, frequency, power and rate below 1.
 */
int32_t wifi_query_setting(int32_t item);

/** @} */
/** @name RF test */
/** @{ */

/**
 * Enters test mode: takes wlan0 from the phone's framework (with a 2 s pause if it was up), brings it up,
 * switches power save off and sets the test country code; all but vq2040 also send the self-calibration
 * switch; vq2050 and vq2070 set the dynamic calibration interval.
 * @return 1, also when it was on already; 0 when wlan0 did not come up. Other failures are only logged.
 */
uint32_t wifi_start_testmode(void);

/**
 * Leaves test mode: stops a running receive test and takes wlan0 down. A running transmit test is not
 * stopped.
 * @return 1, also when it was off already; 0 when wlan0 did not go down; test mode stays on.
 */
uint32_t wifi_stop_testmode(void);

/**
 * Sends mode, bandwidth, channel, chain (vq2050, vq2070), rate and power to the driver and starts to
 * transmit. Stops at the first refusal; settings already sent stay. Does not check that test mode is on.
 * @return 1; 0 after a refusal or for a channel that the bandwidth does not allow.
 */
uint32_t wifi_start_tx(void);

/** Stops transmitting. @return 1, on vq2050 and vq2070 also when it was stopped already; 0 when refused. */
uint32_t wifi_stop_tx(void);

/**
 * Sets the address filter and sends mode, bandwidth, channel, chain (vq2050, vq2070) and RU setting (vq2070,
 * once after wifi_ru_set()), and starts to receive. The first refusal ends it.
 * @param mac 12 hexadecimal digits without separators, or null for 001122334455. Characters after the twelfth
 * are not read; a shorter text must be terminated.
 * @param unused passed on and not read.
 * @return 1; 0 for an illegal digit, a channel that the bandwidth does not allow, or a refusal.
 */
uint32_t wifi_start_rx(const char *mac, const char *unused);

/** Stops receiving. @return 1, on vq2050 and vq2070 also when it was stopped already; 0 when refused. */
uint32_t wifi_stop_rx(void);

/**
 * Reads the signal strength.
 * @param rssi gets the driver's value, also when the driver refused; not written when no socket could be
 * opened.
 * @return 1; 0 when the driver refused or no socket could be opened.
 */
uint32_t wifi_get_rx_rssi(uint32_t *rssi);

/** @return packets received; 0xFFFFFFFF when the driver refused; 0 when no socket could be opened. */
uint32_t wifi_get_rx_pckg(void);

/**
 * Arms an RU test for the next receive start (vq2070 only).
 * @param en_set 0 none, 1 transmit, 2 receive.
 * @param aid association id, three hexadecimal digits (others count as 0), or null for 1. Not read for en_set
 * 0.
 * @return 1; 0 for any other en_set.
 */
uint32_t wifi_ru_set(int32_t en_set, const char *aid);

/**
 * Switches the driver's power save.
 * @param mode 1; any other mode sends nothing and gives 0.
 * @param value 0 is off.
 */
uint32_t wifi_set_powermode(int32_t mode, int32_t value);

/**
 * Power test: takes wlan0 from the framework and switches a test mode in the driver (vq2040: writes the test
 * node).
 * @param mode passed to the driver; vq2040 tells only 0 from other values.
 */
uint32_t wifi_pt_power_test(int32_t mode);

/** @} */
/** @name Hardware self-checks */
/** @{ */

/** FEM/PA status. @param unused passed on and not read. @return 1 when the status is 0; else 0. */
uint32_t wifi_hw_get(const void *unused);

/**
 * Solder-joint check: restarts wlan0 and runs the chip's checks until one fails.
 * @return 1 when all passed: wlan0 is then down and test mode off; 0 at the first failure.
 */
uint32_t wifi_test_weld(void);

/**
 * Starts the firmware's chip check. The pointers are only compared with null, which chooses a log line.
 * @return 0 when the driver took the command, 1 when it did not. (0 is success, as in all conn_test_
 * functions.)
 */
uint32_t conn_test_chipcheck(const void *first, const void *second, const void *third);

/**
 * Fetches the chip check's result. Nothing is written through the pointers.
 * @return the firmware's code; 1 when the driver refused or no socket could be opened.
 */
uint32_t conn_test_get_chipcheck_result(uint8_t *first, uint8_t *second, uint32_t *third);

/**
 * Check time and die identifier; restarts wlan0.
 * @param unused passed on and not read.
 * @param check_time gets 100.
 * @param die_id gets 32 (vq2040, vq2040a) or 36 (vq2050, vq2070) upper-case hexadecimal digits, not
 * terminated.
 * @return 0; 1 when wlan0 did not come up or no socket could be opened.
 */
uint32_t conn_test_get_checktime_of_chipcheck(const void *unused, uint32_t *check_time, uint8_t *die_id);

/** UART loop. @param unused passed on and not read. @return 0 for success, 1 for failure. */
uint32_t conn_test_uart_loop(const void *unused);

/** SDIO loop; stops the WLAN service first, except on vq2040. @param unused not read. @return 0 success, 1
 * failure. */
uint32_t conn_test_sdio_loop(const void *unused);

/** @} */
/** @name Calibration data in NV */
/** @{ */

/**
 * Copies the driver's calibration block to NV (vq2040, vq2040a; the others log and give 0).
 * @param first passed on and not read.
 * @param second passed on and not read.
 * @param third passed on and not read.
 */
uint32_t wifi_nvram_set(const void *first, const void *second, int32_t third);

/**
 * Clears stored calibration.
 * @param scope 1 all, 2 chain 0, 3 chain 1, 4 both chains at 2.4 GHz, 5 both at 5 GHz. vq2040 clears its
 * block whatever the scope; vq2040a knows only 1.
 * @return 1, also when items could not be cleared (see the log); vq2040: 0 when the block could not be
 * written.
 */
uint32_t wifi_nvram_calibrate_clean(int32_t scope);

/**
 * Reads all stored calibration as one text.
 * @param out room for 16 times size bytes (vq2040a: 9 times; vq2040: size).
 * @param size bytes cleared and terminated for each item, usually 104. vq2040 gives 0 below 104.
 * @return 1; on vq2040 0 when nothing could be read.
 */
uint32_t wifi_nvram_calibrate_get(char *out, int32_t size);

/**
 * Corrects the stored calibration by one measured error.
 * @param cal_type 0; anything else is refused (vq2040 does not read it).
 * @param chain chain, 0 or 1 (vq2040 and vq2040a do not read it).
 * @param mode 2 for CCK, else 0 (vq2040: 1 to 5).
 * @param band 0 = 2.4 GHz, 1 = 5 GHz.
 * @param bandwidth 0 = 20 MHz, 1 = 40 MHz, 3 = 160 MHz (vq2040: 2 = 80 MHz).
 * @param freq centre frequency in MHz; 2442 is the 2.4 GHz reference channel.
 * @param delta_gain decimal text: the measured error in tenths of a dB (vq2050 and vq2040a: -500 to 500);
 * vq2040: a gain in dB, -5 to 5 and not 0.
 * @return 1 when every matching parameter was written; else 0, and what was written before stays.
 */
uint32_t wifi_nvram_calibrate_set(int32_t cal_type, int32_t chain, int32_t mode, int32_t band,
                                  int32_t bandwidth, int32_t freq, const char *delta_gain);

/**
 * Clears stored calibration by flags (vq2050, vq2070).
 * @param flags four values, non-zero to clear: 2.4 GHz chain 0, 5 GHz chain 0, 2.4 GHz chain 1, 5 GHz
 * chain 1.
 * @return 1. A chip without it logs "wifi_nvram_clean_new::funcname is null.\n".
 */
uint32_t wifi_nvram_calibrate_clean_new(const uint32_t *flags);

/** @} */
/** @name Station utilities */
/** @{ */

/**
 * Reads the UPC code.
 * @param out1 gets 0.
 * @param out2 gets 0.
 * @param upc gets the low 8 bits.
 * @return the whole code (0 when the driver refused); 1 (vq2040a: 0) when no socket could be opened.
 */
uint32_t wifi_get_upc_code(uint8_t *out1, uint8_t *out2, uint8_t *upc);

/** Switches the TAS antenna (not on vq2040). @param value passed to the driver. */
uint32_t wifi_set_tas_ant_mode(int32_t value);

/**
 * Roams to an access point through the supplicant's client.
 * @param target BSSID, up to 81 characters. It becomes part of a shell command line AS IT STANDS: pass no
 * text that you did not make yourself. Null is refused.
 */
uint32_t wifi_start_roam(const char *target);

/** Starts a scan through the supplicant's client. */
uint32_t wifi_start_roam_scan(void);

/** Sets how long scan results stay valid, in driver and supplicant. @return 1 only when both accepted it. */
uint32_t wifi_set_bss_expire_age(int32_t age);

/**
 * Reads the connection.
 * @param ssid 33 bytes. @param bssid 6 bytes. @param rssi one byte, signed in meaning.
 * @return 1; 0 when the driver refused (the outputs then hold what the driver left, usually zeros) or no
 * socket could be opened.
 */
uint32_t wifi_conn_info(char *ssid, uint8_t *bssid, uint8_t *rssi);

/** The power range. @param lower gets 0. @param upper gets 14. @return 1. */
uint32_t wifi_power_set_range(uint8_t *lower, uint8_t *upper);

/**
 * Records the self-calibration switch, sent at the next start of test mode (not on vq2040).
 * @param flag 1 enables self-calibration, any other value disables it.
 * @return 1.
 */
uint32_t wifi_selcal_disable_set(int32_t flag);

/** Broadcast loop (vq2040a). @return on the other chips, and for an unknown chip, 1 without doing anything.
 */
uint32_t wifi_test_broadcast_loop(int32_t value);

/** @} */

#pragma GCC visibility pop

#ifdef __cplusplus
}
#endif

#endif
