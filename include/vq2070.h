/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file vq2070.h
 * Back end of the vq2070: the functions that serve the public API on this chip, and single steps for
 * callers that know the chip. The vq2070: two chains, calibration texts, RU tests.
 *
 * A function marked "see" is documented at the public function. Log tag:
 * "WIFI_ORVA_FAC_TEST_2070".
 */
#ifndef ORVA_VQ2070_H
#define ORVA_VQ2070_H

#include <stdint.h>

#include "calibration_types.h"

#ifdef __cplusplus
extern "C" {
#endif

#pragma GCC visibility push(default)

/** @name Driver socket and shell */
/** @{ */
/** Opens a socket to the driver. @return the descriptor, never 0; 0 for failure (logged). */
uint32_t vq2070_wl_config_sockets_open(void);
/** Closes a driver socket. @return the result of close. */
int32_t vq2070_wl_config_sockets_close(uint32_t socket);
/*
 * Setters of g_ast_config_ioctl_data: each lays the value of its command into a record's data area, 32 bits
 * but for the host bus.
 */
void vq2070_ioctl_data_freq_set(uint8_t *pri_data, uint32_t value);     /**< Stores the channel. */
void vq2070_ioctl_data_pow_set(uint8_t *pri_data, uint32_t value);      /**< Stores the power. */
void vq2070_ioctl_data_mode_set(uint8_t *pri_data, uint32_t value);     /**< Stores the mode. */
void vq2070_ioctl_data_rate_set(uint8_t *pri_data, uint32_t value);     /**< Stores the rate. */
void vq2070_ioctl_data_band_set(uint8_t *pri_data, uint32_t value);     /**< Stores the bandwidth. */
void vq2070_ioctl_data_tx_set(uint8_t *pri_data, uint32_t value);       /**< Stores transmit on or off. */
void vq2070_ioctl_data_rx_set(uint8_t *pri_data, uint32_t value);       /**< Stores receive on or off. */
void vq2070_ioctl_data_pm_set(uint8_t *pri_data, uint32_t value);       /**< Stores power save on or off. */
void vq2070_ioctl_data_ant_set(uint8_t *pri_data, uint32_t value);      /**< Stores the antenna. */
void vq2070_ioctl_data_mimo_set(uint8_t *pri_data, uint32_t value);     /**< Stores the chain. */
void vq2070_ioctl_data_bus_chan_set(uint8_t *pri_data, uint32_t value); /**< Stores the host bus, 16 bits. */
void vq2070_ioctl_data_pt_set(uint8_t *pri_data, uint32_t value);       /**< Stores the power test. */
void vq2070_ioctl_data_tas_ant_set(uint8_t *pri_data, uint32_t value);  /**< Stores the TAS antenna. */
void vq2070_ioctl_data_bss_set(uint8_t *pri_data, uint32_t value);      /**< Stores scan results' age. */
/**
 * Runs a command line in the shell. @return the wait status, 0 for success; -1 on error; 1 for a null
 * command.
 */
int32_t vq2070_system_call(const char *command);
/** Reads a command's output: at most size - 1 bytes, not terminated. @return 1 when there was any, else 0. */
int32_t vq2070_run_cmd_by_stream(const char *command, char *output, uint32_t size);
/** Brings wlan0 up, with one retry after 4 s of pauses. @return 0 when it came up, else 1. */
int32_t vq2070_try_to_boot_up(void);
/** Logs a bounds-checked call that failed: a result other than 0. */
void vq2070_check_securef_ret(int32_t result);
/** A hexadecimal digit's value; another character is logged and gives 0. */
uint32_t vq2070_atoi(char digit);
/** @} */

/** @name RF test */
/** @{ */
uint32_t vq2070_wifi_set_power(int32_t power);       /**< @see wifi_set_power */
uint32_t vq2070_wifi_set_rate(int32_t rate);         /**< @see wifi_set_rate */
uint32_t vq2070_wifi_set_band(int32_t band);         /**< @see wifi_set_band */
uint32_t vq2070_wifi_set_channel(int32_t channel);   /**< @see wifi_set_channel */
uint32_t vq2070_wifi_set_antenna(int32_t antenna);   /**< @see wifi_set_antenna */
uint32_t vq2070_wifi_setmimo_channel(int32_t chain); /**< @see wifi_setmimo_channel */
uint32_t vq2070_wifi_set_mode(int32_t at_mode);      /**< @see wifi_set_mode */
int32_t vq2070_wifi_query_setting(int32_t item);     /**< @see wifi_query_setting */
/** Sends a power in the station's units and pauses 1 ms. @return the send result. */
uint32_t vq2070_wifi_ioctl_set_power(int32_t power);
/** Sends a driver mode, renumbered for frequencies below 2484 MHz. @return the send result. */
uint32_t vq2070_wifi_ioctl_set_mode(uint32_t mode, int32_t mhz);
/** Sends the code of a bandwidth index (2 as 3, 3 as 7, others unchanged). @return the send result. */
uint32_t vq2070_wifi_ioctl_set_band(uint32_t band);
/**
 * Sends the channel number of a frequency at the recorded bandwidth. @return the send result; 0 where
 * there is no channel.
 */
uint32_t vq2070_wifi_ioctl_set_channel(uint32_t mhz);
/** Sends a MIMO chain. @return the send result. */
uint32_t vq2070_wifi_ioctl_setmimo_channel(uint32_t chain);
/** Channel number of a frequency at a bandwidth index. @return 1 and the channel, or 0. */
uint32_t vq2070_wifi_get_channel_by_bw_freq(int32_t mhz, int32_t bandwidth, uint32_t *channel);
/**
 * Channel number on one row of g_ast_freq_bw.
 * @param base 0 for 2.4 GHz, 35 for 5 GHz.
 * @param row 0 to 5, not checked.
 * @param mhz centre frequency.
 * @param channel gets the number.
 * @return 1, or 0 for a frequency off the row's grid.
 */
uint32_t vq2070_get_target_channel(uint32_t base, int32_t row, uint32_t mhz, uint32_t *channel);
/** Sub-band of a 5 GHz frequency: 0, 3, 6 or 9; -1 outside. */
int32_t vq2070_get_5g_band(int32_t mhz);
uint32_t vq2070_wifi_start_testmode(void); /**< @see wifi_start_testmode */
uint32_t vq2070_wifi_stop_testmode(void);  /**< @see wifi_stop_testmode */
/** Sets the test country code "99". @return 1 or 0. */
uint32_t vq2070_wifi_set_country_all(void);
/** Sets the dynamic calibration interval. @return 1 or 0. */
uint32_t vq2070_wifi_set_dyn_interval(void);
/** Sends the self-calibration switch. @return 1 or 0. */
uint32_t vq2070_wifi_set_selfcali_interval(void);
uint32_t vq2070_wifi_pt_power_test(int32_t mode); /**< @see wifi_pt_power_test */
uint32_t vq2070_wifi_start_tx(void);              /**< @see wifi_start_tx */
uint32_t vq2070_wifi_stop_tx(void);               /**< @see wifi_stop_tx */
/** Switches the driver's power save, 0 off. @return the send result. */
uint32_t vq2070_wifi_set_pm_switch(uint32_t pm_switch);
uint32_t vq2070_wifi_set_powermode(int32_t mode, int32_t value);    /**< @see wifi_set_powermode */
uint32_t vq2070_wifi_start_rx(const char *mac, const char *unused); /**< @see wifi_start_rx */
uint32_t vq2070_wifi_stop_rx(void);                                 /**< @see wifi_stop_rx */
uint32_t vq2070_wifi_get_rx_rssi(uint32_t *rssi);                   /**< @see wifi_get_rx_rssi */
uint32_t vq2070_wifi_get_rx_pckg(void);                             /**< @see wifi_get_rx_pckg */
/**
 * Sets the receive test's address filter. @param mac 12 hexadecimal digits, or null for 001122334455.
 * @return the send result; 0 for an illegal digit.
 */
uint32_t vq2070_wifi_set_hw_mac_addr(const char *mac);
uint32_t vq2070_wifi_ru_set(int32_t en_set, const char *aid); /**< @see wifi_ru_set */
/**
 * Sends the armed RU setting and disarms it. @param aid association id. @return the send result; 1 when
 * none is armed.
 */
uint32_t vq2070_wifi_ioctl_set_axru(uint16_t aid);
/** @} */

/** @name Hardware self-checks */
/** @{ */
uint32_t vq2070_conn_test_chipcheck(const void *first, const void *second,
                                    const void *third); /**< @see conn_test_chipcheck */
uint32_t vq2070_conn_test_get_chipcheck_result(uint8_t *first, uint8_t *second,
                                               uint32_t *third); /**< @see conn_test_get_chipcheck_result */
uint32_t vq2070_conn_test_get_checktime_of_chipcheck(
    const void *unused, uint32_t *check_time,
    uint8_t *die_id);                                    /**< @see conn_test_get_checktime_of_chipcheck */
uint32_t vq2070_conn_test_uart_loop(const void *unused); /**< @see conn_test_uart_loop */
uint32_t vq2070_conn_test_sdio_loop(const void *unused); /**< @see conn_test_sdio_loop */
/**
 * Probes on the caller's open driver socket and interface ("wlan0"). @return 1 pass, 0 fail. This one logs
 * the DBB number.
 */
int32_t vq2070_wl_config_wifi_dbb_get(uint32_t socket, const char *interface);
/** Efuse status; 0 passes. */
int32_t vq2070_wl_config_wifi_efuse_get(uint32_t socket, const char *interface);
/** WLAN pin test; 0 passes. */
int32_t vq2070_wl_config_wipin_test(uint32_t socket, const char *interface);
/** PMU check; 0 passes. */
int32_t vq2070_wl_config_pmu_check(uint32_t socket, const char *interface);
/** Wake-up IO test; low 16 bits of 0 pass. */
int32_t vq2070_wl_config_wkup_io_test(uint32_t socket, const char *interface);
/** PCIe test; low 16 bits of 0 pass. */
int32_t vq2070_wl_config_pcie_test(uint32_t socket, const char *interface);
uint32_t vq2070_wifi_hw_get(const void *unused); /**< @see wifi_hw_get */
/** PMU check on a socket of its own. @return 1 pass, 0 fail. */
uint32_t vq2070_wifi_check_pmu(void);
/**
 * Reads the die identifier; restarts wlan0. @param flag gets 0. @param text gets 36 upper-case hexadecimal
 * digits, not terminated. @return 0, or 1 for failure.
 */
uint32_t vq2070_wifi_get_die_id(uint8_t *flag, uint8_t *text);
uint32_t vq2070_wifi_test_weld(void); /**< @see wifi_test_weld */
/** @} */

/** @name Calibration data in NV */
/** @{ */
uint32_t vq2070_wifi_nvram_set(const void *unused0, const void *unused1,
                               int32_t unused2); /**< @see wifi_nvram_set */
uint32_t vq2070_wifi_nvram_calibrate_set(int32_t cal_type, int32_t chain, int32_t mode, int32_t band,
                                         int32_t bandwidth, int32_t freq,
                                         const char *delta_gain);  /**< @see wifi_nvram_calibrate_set */
uint32_t vq2070_wifi_nvram_calibrate_get(char *out, int32_t size); /**< @see wifi_nvram_calibrate_get */
uint32_t vq2070_wifi_nvram_calibrate_clean(int32_t scope);         /**< @see wifi_nvram_calibrate_clean */
uint32_t
vq2070_wifi_nvram_calibrate_clean_new(const uint32_t *flags); /**< @see wifi_nvram_calibrate_clean_new */
/** Empties all 16 items. */
uint32_t vq2070_clean_all_nvparam(void);
/** Clears 2.4 GHz of chain 0; 0 does nothing. */
uint32_t vq2070_clean_nvparam_2G_C0(uint32_t enable);
/** Clears 2.4 GHz of chain 1; 0 does nothing. */
uint32_t vq2070_clean_nvparam_2G_C1(uint32_t enable);
/** Clears 5 GHz of chain 0; 0 does nothing. */
uint32_t vq2070_clean_nvparam_5G_C0(uint32_t enable);
/** Clears 5 GHz of chain 1; 0 does nothing. */
uint32_t vq2070_clean_nvparam_5G_C1(uint32_t enable);
/** Clears one chain, 0 or 1. */
uint32_t vq2070_clean_nvparam_by_rfcore(uint32_t chain);
/** Clears one band, 0 = 2.4 GHz, 1 = 5 GHz. */
uint32_t vq2070_clean_nvparam_by_rffreq(uint32_t band);
/**
 * Keeps only one parameter in an item.
 * @param nv_num the item's number.
 * @param nv_name the item's name.
 * @param size ORVA_NV_ITEM_SIZE; other sizes count as that.
 * @param param_name the parameter that stays.
 */
void vq2070_write_nvpattern_to_nv(uint32_t nv_num, const char *nv_name, uint32_t size,
                                  const char *param_name);
/**
 * Reads, merges or keeps one parameter of an item.
 * @param out set to an empty text first, which stays if nothing was found, except that a merge adds the
 * parameter.
 * @param out_size its room.
 * @param request which parameter of which item, and the values to merge.
 * @param mode ORVA_NVBUF_READ, ORVA_NVBUF_MERGE or ORVA_NVBUF_KEEP_ONLY.
 */
void vq2070_get_nvbuf_by_name(char *out, uint32_t out_size, const struct orva_nvbuf_request *request,
                              uint32_t mode);
/** Appends "name=v,v;" to a text; a piece that does not fit is truncated and logged. */
void vq2070_param_to_string(char *out, uint32_t out_size, const char *name, const uint32_t *values,
                            uint32_t count);
/** The catalogue rows that a calibration request reaches. */
struct orva_cal_lookup vq2070_wifi_get_nvnum_parname_from_at_param(uint32_t chain, uint32_t mode,
                                                                   uint32_t band, uint32_t bandwidth,
                                                                   int32_t freq);
/**
 * @return 1 if the name is a parameter of the pa2g… family or a prefix of one, else 0.
 */
uint32_t vq2070_check_nvname_2G_normal(const char *name);
/** The same for the family mf2g…. @return 1 or 0. */
uint32_t vq2070_check_nvname_2G_mucal(const char *name);
/** The same for the family pa5g…. @return 1 or 0. */
uint32_t vq2070_check_nvname_5G_normal(const char *name);
/** The same for the family dpn160c…. @return 1 or 0. */
uint32_t vq2070_check_nvname_5G_160M(const char *name);
/** @} */

/** @name Station utilities */
/** @{ */
uint32_t vq2070_wifi_start_roam(const char *target);  /**< @see wifi_start_roam */
uint32_t vq2070_wifi_start_roam_scan(void);           /**< @see wifi_start_roam_scan */
uint32_t vq2070_wifi_set_bss_expire_age(int32_t age); /**< @see wifi_set_bss_expire_age */
uint32_t vq2070_wifi_conn_info(char *ssid, uint8_t *bssid, uint8_t *rssi);     /**< @see wifi_conn_info */
uint32_t vq2070_wifi_get_upc_code(uint8_t *out1, uint8_t *out2, uint8_t *upc); /**< @see wifi_get_upc_code */
uint32_t vq2070_wifi_power_set_range(uint8_t *lower, uint8_t *upper); /**< @see wifi_power_set_range */
uint32_t vq2070_wifi_set_tas_ant_switch(int32_t value);               /**< @see wifi_set_tas_ant_mode */
uint32_t vq2070_wifi_selcal_disable_set(int32_t flag);                /**< @see wifi_selcal_disable_set */
/** Chooses the host bus; the driver gets the low 16 bits. @return the send result. */
uint32_t vq2070_wifi_set_pcie_sdio_mode(uint32_t mode);
/** @} */

#pragma GCC visibility pop

#ifdef __cplusplus
}
#endif

#endif
