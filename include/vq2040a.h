/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file vq2040a.h
 * Back end of the vq2040a: the functions that serve the public API on this chip, and single steps for
 * callers that know the chip. The vq2040a: one chain, calibration texts and the raw block.
 *
 * A function marked "see" is documented at the public function. Log tag:
 * "WIFI_ORVA_FAC_TEST_2040A".
 */
#ifndef ORVA_VQ2040A_H
#define ORVA_VQ2040A_H

#include <stdint.h>

#include "calibration_types.h"

#ifdef __cplusplus
extern "C" {
#endif

#pragma GCC visibility push(default)

/** @name Driver socket and shell */
/** @{ */
/** Opens a socket to the driver. @return the descriptor, never 0; 0 for failure (logged). */
uint32_t vq2040a_wl_config_sockets_open(void);
/** Closes a driver socket. @return the result of close. */
int32_t vq2040a_wl_config_sockets_close(uint32_t socket);
/**
 * Runs a command line in the shell. @return the wait status, 0 for success; -1 on error; 1 for a null
 * command.
 */
int32_t vq2040a_system_call(const char *command);
/** Reads a command's output: at most size - 1 bytes, not terminated. @return 1 when there was any, else 0. */
int32_t vq2040a_run_cmd_by_stream(const char *command, char *output, uint32_t size);
/** @} */

/** @name RF test */
/** @{ */
uint32_t vq2040a_wifi_set_power(int32_t power);     /**< @see wifi_set_power */
uint32_t vq2040a_wifi_set_rate(int32_t rate);       /**< @see wifi_set_rate */
uint32_t vq2040a_wifi_set_band(int32_t band);       /**< @see wifi_set_band */
uint32_t vq2040a_wifi_set_channel(int32_t channel); /**< @see wifi_set_channel */
uint32_t vq2040a_wifi_set_antenna(int32_t antenna); /**< @see wifi_set_antenna */
uint32_t vq2040a_wifi_set_mode(int32_t at_mode);    /**< @see wifi_set_mode */
int32_t vq2040a_wifi_query_setting(int32_t item);   /**< @see wifi_query_setting */
/** Sends a power in the station's units and pauses 1 ms. @return the send result. */
uint32_t vq2040a_wifi_ioctl_set_power(int32_t power);
/** Sends a driver mode, renumbered for frequencies below 2484 MHz. @return the send result. */
uint32_t vq2040a_wifi_ioctl_set_mode(uint32_t mode, int32_t mhz);
/** Sends the code of a bandwidth index (2 as 3, 3 as 7, others unchanged). @return the send result. */
uint32_t vq2040a_wifi_ioctl_set_band(uint32_t band);
/**
 * Sends the channel number of a frequency at the recorded bandwidth. @return the send result; 0 where
 * there is no channel.
 */
uint32_t vq2040a_wifi_ioctl_set_channel(uint32_t mhz);
uint32_t vq2040a_wifi_start_testmode(void); /**< @see wifi_start_testmode */
uint32_t vq2040a_wifi_stop_testmode(void);  /**< @see wifi_stop_testmode */
/** Sets the test country code "99". @return 1 or 0. */
uint32_t vq2040a_wifi_set_country_all(void);
/** Sets the dynamic calibration interval. @return 1 or 0. */
uint32_t vq2040a_wifi_set_dyn_interval(void);
/** Sends the self-calibration switch. @return 1 or 0. */
uint32_t vq2040a_wifi_set_selfcali_interval(void);
uint32_t vq2040a_wifi_pt_power_test(int32_t mode); /**< @see wifi_pt_power_test */
uint32_t vq2040a_wifi_start_tx(void);              /**< @see wifi_start_tx */
uint32_t vq2040a_wifi_stop_tx(void);               /**< @see wifi_stop_tx */
/** Switches the driver's power save, 0 off. @return the send result. */
uint32_t vq2040a_wifi_set_pm_switch(uint32_t pm_switch);
uint32_t vq2040a_wifi_set_powermode(int32_t mode, int32_t value);    /**< @see wifi_set_powermode */
uint32_t vq2040a_wifi_start_rx(const char *mac, const char *unused); /**< @see wifi_start_rx */
uint32_t vq2040a_wifi_stop_rx(void);                                 /**< @see wifi_stop_rx */
uint32_t vq2040a_wifi_get_rx_rssi(uint32_t *rssi);                   /**< @see wifi_get_rx_rssi */
uint32_t vq2040a_wifi_get_rx_pckg(void);                             /**< @see wifi_get_rx_pckg */
/**
 * Sets the receive test's address filter. @param mac 12 hexadecimal digits, or null for 001122334455.
 * @return the send result; 0 for an illegal digit.
 */
uint32_t vq2040a_wifi_set_hw_mac_addr(const char *mac);
/** @} */

/** @name Hardware self-checks */
/** @{ */
uint32_t vq2040a_conn_test_chipcheck(const void *first, const void *second,
                                     const void *third); /**< @see conn_test_chipcheck */
uint32_t vq2040a_conn_test_get_chipcheck_result(uint8_t *first, uint8_t *second,
                                                uint32_t *third); /**< @see conn_test_get_chipcheck_result */
uint32_t vq2040a_conn_test_get_checktime_of_chipcheck(
    const void *unused, uint32_t *check_time,
    uint8_t *die_id);                                     /**< @see conn_test_get_checktime_of_chipcheck */
uint32_t vq2040a_conn_test_uart_loop(const void *unused); /**< @see conn_test_uart_loop */
uint32_t vq2040a_conn_test_sdio_loop(const void *unused); /**< @see conn_test_sdio_loop */
/**
 * Probes on the caller's open driver socket and interface ("wlan0"). @return 1 pass, 0 fail. This one logs
 * the DBB number.
 */
int32_t vq2040a_wl_config_wifi_dbb_get(uint32_t socket, const char *interface);
/** Efuse status; 0 passes. */
int32_t vq2040a_wl_config_wifi_efuse_get(uint32_t socket, const char *interface);
/** WLAN pin test; 0 passes. */
int32_t vq2040a_wl_config_wipin_test(uint32_t socket, const char *interface);
/** PMU check; 0 passes. */
int32_t vq2040a_wl_config_pmu_check(uint32_t socket, const char *interface);
/** Wake-up IO test; low 16 bits of 0 pass. */
int32_t vq2040a_wl_config_wkup_io_test(uint32_t socket, const char *interface);
uint32_t vq2040a_wifi_hw_get(const void *unused); /**< @see wifi_hw_get */
/** PMU check on a socket of its own. @return 1 pass, 0 fail. */
uint32_t vq2040a_wifi_check_pmu(void);
/**
 * Reads the die identifier; restarts wlan0. @param flag gets 0. @param text gets 32 upper-case hexadecimal
 * digits, not terminated. @return 0, or 1 for failure.
 */
uint32_t vq2040a_wifi_get_die_id(uint8_t *flag, uint8_t *text);
uint32_t vq2040a_wifi_test_weld(void); /**< @see wifi_test_weld */
/** @} */

/** @name Calibration data in NV */
/** @{ */
uint32_t vq2040a_wifi_nvram_set(const void *unused0, const void *unused1,
                                int32_t unused2); /**< @see wifi_nvram_set */
uint32_t vq2040a_wifi_nvram_calibrate_set(int32_t cal_type, int32_t chain, int32_t mode, int32_t band,
                                          int32_t bandwidth, int32_t freq,
                                          const char *delta_gain);  /**< @see wifi_nvram_calibrate_set */
uint32_t vq2040a_wifi_nvram_calibrate_get(char *out, int32_t size); /**< @see wifi_nvram_calibrate_get */
uint32_t vq2040a_wifi_nvram_calibrate_clean(int32_t scope);         /**< @see wifi_nvram_calibrate_clean */
/** Appends "name=v,v;" to a text; a piece that does not fit is truncated and logged. */
void vq2040a_param_to_string(char *out, uint32_t out_size, const char *name, const uint32_t *values,
                             uint32_t count);
/** The catalogue rows that a calibration request reaches. */
struct orva_cal_lookup vq2040a_wifi_get_nvnum_parname_from_at_param(uint32_t mode, uint32_t band,
                                                                    uint32_t bandwidth, int32_t freq);
/**
 * @return 1 if the name is a parameter of the pa2g… family or a prefix of one, else 0.
 */
uint32_t vq2040a_check_nvname_2G_normal(const char *name);
/** The same for the family mf2g…. @return 1 or 0. */
uint32_t vq2040a_check_nvname_2G_mucal(const char *name);
/** The same for the family pa5g…. @return 1 or 0. */
uint32_t vq2040a_check_nvname_5G_normal(const char *name);
/** The same for the family dpn160c…. @return 1 or 0. */
uint32_t vq2040a_check_nvname_5G_160M(const char *name);
/** Writes the calibration block to NV. @return 104, or -1 for failure. */
int32_t vq2040a_write_wifi_caldata_to_nv(const void *buf, uint32_t size);
/**
 * Reads an item as text.
 * @param out gets the text, terminated.
 * @param size of out, 1 or more.
 * @param nv_num the item's number.
 * @param nv_name the item's name.
 * @return the text's length, or -1 for failure.
 */
int32_t vq2040a_read_wifi_nvram_param_from_nv(char *out, uint32_t size, uint32_t nv_num, const char *nv_name);
/** @} */

/** @name Station utilities */
/** @{ */
uint32_t vq2040a_wifi_start_roam(const char *target);  /**< @see wifi_start_roam */
uint32_t vq2040a_wifi_start_roam_scan(void);           /**< @see wifi_start_roam_scan */
uint32_t vq2040a_wifi_set_bss_expire_age(int32_t age); /**< @see wifi_set_bss_expire_age */
uint32_t vq2040a_wifi_conn_info(char *ssid, uint8_t *bssid, uint8_t *rssi);     /**< @see wifi_conn_info */
uint32_t vq2040a_wifi_get_upc_code(uint8_t *out1, uint8_t *out2, uint8_t *upc); /**< @see wifi_get_upc_code */
uint32_t vq2040a_wifi_power_set_range(uint8_t *lower, uint8_t *upper); /**< @see wifi_power_set_range */
uint32_t vq2040a_wifi_set_tas_ant_switch(int32_t value);               /**< @see wifi_set_tas_ant_mode */
uint32_t vq2040a_wifi_selcal_disable_set(int32_t flag);                /**< @see wifi_selcal_disable_set */
uint32_t vq2040a_wifi_test_broadcast_loop(int32_t value);              /**< @see wifi_test_broadcast_loop */
/** @} */

#pragma GCC visibility pop

#ifdef __cplusplus
}
#endif

#endif
