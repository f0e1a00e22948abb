// SPDX-License-Identifier: Apache-2.0
// What makes one chip itself: its profile, and the test state that its back end keeps.
#ifndef ORVA_CHIP_H
#define ORVA_CHIP_H

#include <stdint.h>

#include "common/list.h"

namespace orva {

struct chip;
struct calibration;

/// A chip's test state. The variables themselves are plain globals in the chip's state.cpp.
struct test_state {
  int32_t &status;       ///< 1 while test mode is on
  int32_t &mode;         ///< AT mode last asked for, known or not
  uint8_t &mode_driver;  ///< driver mode of the last known AT mode
  int32_t &channel;      ///< centre frequency, MHz
  int32_t &freq;         ///< never written
  int32_t &rate;         ///< station's units
  int32_t &bandwidth;    ///< bandwidth index; -1: not set
  int32_t &power;        ///< station's units; POWER_NOT_SET before the first setting
  int32_t &antenna;      ///< -1: not set
  int32_t &chain;        ///< MIMO chain
  int32_t &tx;           ///< 1 while transmitting
  int32_t &rx;           ///< 1 while receiving
  int32_t &mem_time;     ///< never written
  int32_t &chipcheck_result;
  uint32_t *running_test;           ///< null: the chip has no running-test flag
  uint32_t *selcal_disable_switch;  ///< null: the chip has no self-calibration switch
};

constexpr int32_t POWER_NOT_SET = -99;

/// A command that the value sender accepts, and the function that stores its value in the record.
struct value_command {
  uint32_t id;
  void (*set)(uint8_t *pri_data, uint32_t value);
};

/// The station's AT mode and the driver's mode number. The first row with an AT mode wins.
struct at_mode {
  uint8_t driver_mode;
  uint8_t at_mode;
};

/// A driver mode that has another number below 2484 MHz.
struct mode_remap {
  uint8_t mode;
  uint8_t below_2484_mhz;
};

/// A rate whose code is not a hundredth of it.
struct rate_code {
  int32_t rate;
  int32_t code;
};

/// One step of a transmit or receive start: run is true if the driver accepted it. The failure message
/// takes the driver result or no argument.
struct start_step {
  bool (*run)(const chip &);
  const char *failure;
};

/// One step of the weld test on an open socket. A failed step logs its message and ends the test.
struct weld_step {
  bool (*run)(const chip &, uint32_t socket, const char *interface);
  const char *failure;
};

/// Whose failure makes test-mode entry log that the country code failed.
enum class country_failure : uint8_t { not_logged, of_country_code, of_power_save };

/// Line numbers printed in a probe's messages.
struct probe_lines {
  uint16_t fail, pass;
};

/// The id of a command that the chip does not have.
constexpr uint8_t NO_COMMAND = 0xFF;

/// Ids of the commands that are numbered differently from chip to chip.
struct chip_commands {
  uint8_t pmu_check, wakeup_io, pcie, conn_info, dyn_interval, selfcali_interval, power_test, tas_antenna,
      bss_expire_age, calibration_query;
};

/// Everything constant that differs between chips. Shared code reads it and never asks which chip it serves.
struct chip {
  const char *name;  ///< prefix of its functions, as printed in messages
  const char *log_tag;
  uint32_t magic;  ///< first word of every driver command record
  chip_commands command;

  /// Line numbers in the driver channel's messages.
  struct {
    uint16_t socket_failed, second_socket_failed, ioctl_fail, retry_fail, unknown_command;
  } line;

  list<value_command> value_commands;  ///< besides those that every chip accepts

  struct {
    list<at_mode> at_modes;
    list<mode_remap> remaps;
    const char *unknown;  ///< logged for an unknown AT mode; takes the mode or no argument
  } mode;

  /// Channel number of a frequency at the recorded bandwidth; false if there is none.
  bool (*channel_of)(const chip &, uint32_t mhz, uint32_t &channel);

  int32_t power_divisor;       ///< station's units per driver step
  bool mode_logs_every_call;   ///< wifi_set_mode logs the mode at error level even if it is known
  bool query_logs_wrong_type;  ///< of wifi_query_setting
  bool sdio_loop_stops_wifi;

  struct {
    list<const start_step *> steps;
    list<rate_code> rate_codes;
    bool raises_flag_at_start;     ///< start sets the transmit flag
    bool stops_only_when_started;  ///< stop returns 1 at once if the flag is down; receive as well
    uint32_t final_pause_us;       ///< after switching transmit or receive on
  } tx;

  struct {
    list<const start_step *> steps;
  } rx;

  struct {
    country_failure logs_country_failure;
    bool sets_selfcali_interval, sets_dyn_interval;
    bool clears_flags_at_stop;       ///< leaving test mode lowers the transmit and receive flags
    const char *power_test_message;  ///< logged by the driver's power test, with its mode
  } testmode;

  struct {
    uint16_t dbb_line;
    probe_lines pmu, pin, wakeup_io, pcie;
    bool wakeup_logs_low_half;  ///< logs the low 16 bits as a signed number instead of all 32
  } probe;

  struct {
    uint32_t words;  ///< 16-bit words of the identifier
    bool logs_characters;
    bool names_boot_failure;  ///< logs an additional line if wlan0 did not come up
    const char *boots_as;     ///< function named in the retry message
  } die_id;

  list<const weld_step *> weld_steps;

  struct {
    const char *roam_format_error;
    const char *conn_info_copy_failure;
    bool conn_info_copy_failure_ends;
    bool checks_expire_age_format;
    uint32_t upc_without_socket;      ///< result of the UPC read if no socket opens
    const char *selcal_logged_as;     ///< prefix in the self-calibration switch's message
    const char *powermode_logged_as;  ///< prefix in the power-mode setter's first message
  } utilities;

  const struct calibration *calibration;  ///< null: the chip stores no calibration texts
  test_state state;
};

}  // namespace orva

#endif
