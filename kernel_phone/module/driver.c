// SPDX-License-Identifier: GPL-2.0-only
/*
 * The WLAN driver of a phone with a real kernel: wlan0, its private request, the debug node, and control
 * files under /proc that describe the chip, make it fail and list the commands that the driver received.
 *
 * Every entry point holds the RTNL, the kernel's lock for network devices, so the state needs no other lock.
 */
#define pr_fmt(fmt) KBUILD_MODNAME ": " fmt

#include <linux/capability.h>
#include <linux/etherdevice.h>
#include <linux/kobject.h>
#include <linux/module.h>
#include <linux/netdevice.h>
#include <linux/proc_fs.h>
#include <linux/rtnetlink.h>
#include <linux/seq_file.h>
#include <linux/slab.h>
#include <linux/string.h>
#include <linux/uaccess.h>
#include <linux/vmalloc.h>

#include "radio_chips.h"
#include "radio_driver.h"
#include "radio_keys.h"

enum {
  PRIVATE_REQUEST = SIOCDEVPRIVATE + 2,
  REQUEST_SIZE = 40,
  HEARD_MAX = 8192,
  FAULTS_MAX = 32,
  FENCE = 64,
  FENCE_BYTE = 0xA5,
};

/* A driver command: time, result, the record as received and as returned. */
struct heard {
  u64 time_us;
  s32 result;
  u8 sent[RADIO_RECORD_SIZE];
  u8 left[RADIO_RECORD_SIZE];
};

/* A planned fault: the nth use of a place fails, and so do the times - 1 uses after it (times 0: all). */
struct fault {
  char place[16];
  unsigned int nth, times, seen, fired;
  int error;
};

/* The driver's copy of a record, between fences that show a stray write. */
static struct {
  u8 before[FENCE];
  u8 bytes[RADIO_RECORD_SIZE];
  u8 after[FENCE];
} exchange;

static struct radio radio;
static struct net_device *wlan;
static struct heard *heard;
static unsigned int heard_count, overruns;
static struct fault faults[FAULTS_MAX];
static unsigned int fault_count;
static struct kobject *debug_folder;
static char debug_text[16];
static ktime_t began;

static u64 now_us(void) { return ktime_to_us(ktime_sub(ktime_get(), began)); }

/* ---- Faults ------------------------------------------------------------------------------------------- */

/* The error of this use of a place, or 0. */
static int fault_at(const char *place) {
  int error = 0;
  unsigned int i;

  for (i = 0; i < fault_count; i++) {
    struct fault *fault = &faults[i];

    if (strcmp(fault->place, place) || ++fault->seen < fault->nth) continue;
    if (fault->times && fault->seen >= fault->nth + fault->times) continue;
    fault->fired++;
    error = -fault->error;
  }
  return error;
}

static int known_place(const char *place) {
  unsigned int id;
  char rest;

  return !strcmp(place, "ioctl") || (sscanf(place, "ioctl:%u%c", &id, &rest) == 1 && id < RADIO_COMMANDS);
}

static int plan_fault(char *line) {
  struct fault fault = {.error = EIO};

  if (!strcmp(line, "clear")) {
    fault_count = 0;
    return 0;
  }
  if (fault_count == FAULTS_MAX) return -ENOSPC;
  if (sscanf(line, "%15s %u %u %d", fault.place, &fault.nth, &fault.times, &fault.error) < 3 ||
      !known_place(fault.place) || !fault.nth || fault.error <= 0 || fault.error >= MAX_ERRNO)
    return -EINVAL;
  faults[fault_count++] = fault;
  return 0;
}

/* ---- The private request ------------------------------------------------------------------------------ */

static void raise_fences(void) {
  memset(exchange.before, FENCE_BYTE, FENCE);
  memset(exchange.after, FENCE_BYTE, FENCE);
}

static void check_fences(void) {
  if (!memchr_inv(exchange.before, FENCE_BYTE, FENCE) && !memchr_inv(exchange.after, FENCE_BYTE, FENCE))
    return;
  overruns++;
  pr_err("ORVA-BROKEN something was written beyond the record\n");
}

static int answer(u8 *record) {
  u32 id = le32_to_cpup((__le32 *)(record + 4));
  char place[16];
  int error = fault_at("ioctl");

  snprintf(place, sizeof(place), "ioctl:%u", id);
  error = fault_at(place) ?: error;
  return error ?: radio_command(&radio, record, now_us());
}

static void remember(const u8 *sent, const u8 *left, int result) {
  struct heard *entry = &heard[heard_count];

  if (heard_count == HEARD_MAX) {
    pr_err("ORVA-BROKEN more than %d driver commands\n", HEARD_MAX);
    return;
  }
  heard_count++;
  entry->time_us = now_us();
  entry->result = result;
  memcpy(entry->sent, sent, RADIO_RECORD_SIZE);
  memcpy(entry->left, left, RADIO_RECORD_SIZE);
}

static int wlan_private(struct net_device *dev, struct ifreq *request, void __user *data, int cmd) {
  u8 sent[RADIO_RECORD_SIZE];
  int result;

  if (cmd != PRIVATE_REQUEST) return -EOPNOTSUPP;
  if (!capable(CAP_NET_ADMIN)) return -EPERM;
  raise_fences();
  if (copy_from_user(exchange.bytes, data, RADIO_RECORD_SIZE)) return -EFAULT;
  memcpy(sent, exchange.bytes, RADIO_RECORD_SIZE);
  result = answer(exchange.bytes);
  check_fences();
  remember(sent, exchange.bytes, result);
  if (copy_to_user(data, exchange.bytes, RADIO_RECORD_SIZE)) return -EFAULT;
  return result;
}

/* ---- The interface ------------------------------------------------------------------------------------ */

static int wlan_open(struct net_device *dev) {
  int error = radio_interface(&radio, 1, now_us());

  if (!error) netif_start_queue(dev);
  return error;
}

static int wlan_stop(struct net_device *dev) {
  netif_stop_queue(dev);
  return radio_interface(&radio, 0, now_us());
}

/* There is no radio link, so packets of the phone's network stack are dropped. */
static netdev_tx_t wlan_transmit(struct sk_buff *packet, struct net_device *dev) {
  dev->stats.tx_dropped++;
  dev_kfree_skb(packet);
  return NETDEV_TX_OK;
}

static const struct net_device_ops wlan_operations = {
    .ndo_open = wlan_open,
    .ndo_stop = wlan_stop,
    .ndo_start_xmit = wlan_transmit,
    .ndo_siocdevprivate = wlan_private,
};

static void wlan_setup(struct net_device *dev) {
  ether_setup(dev);
  dev->netdev_ops = &wlan_operations;
  dev->needs_free_netdev = false;
}

static int take_interface(int up) {
  return dev_change_flags(wlan, up ? wlan->flags | IFF_UP : wlan->flags & ~IFF_UP, NULL);
}

/* ---- Control files ------------------------------------------------------------------------------------ */

static int reset(void) {
  radio_init(&radio);
  radio.up = netif_running(wlan);
  began = ktime_get();
  heard_count = fault_count = overruns = 0;
  debug_text[0] = 0;
  return take_interface(1);
}

static int set_key(char *line) {
  char *value = strchr(line, '=');
  int error;

  if (!strcmp(line, "reset")) return reset();
  if (!value) return -EINVAL;
  *value++ = 0;
  line = strim(line);
  value = strim(value);
  if (!strcmp(line, "interface.up") && (!strcmp(value, "true") || !strcmp(value, "false")))
    return radio.driver_loaded ? take_interface(!strcmp(value, "true")) : 0;
  error = radio_set(&radio, line, value);
  if (!error) eth_hw_addr_set(wlan, radio.mac);
  return error;
}

static int forget_commands(char *line) {
  if (strcmp(line, "clear")) return -EINVAL;
  heard_count = 0;
  return 0;
}

/* Passes each line to take, up to the first that it refuses. */
static ssize_t take_lines(const char __user *from, size_t size, const char *what, int (*take)(char *line)) {
  char *text = memdup_user_nul(from, size), *rest = text, *line;
  int error = 0;

  if (IS_ERR(text)) return PTR_ERR(text);
  rtnl_lock();
  while (!error && (line = strsep(&rest, "\n"))) {
    line = strim(line);
    if (!*line) continue;
    error = take(line);
    if (error) pr_warn("%s: '%s' refused: error %d\n", what, line, error);
  }
  rtnl_unlock();
  kfree(text);
  return error ?: size;
}

static ssize_t write_radio(struct file *file, const char __user *from, size_t size, loff_t *at) {
  return take_lines(from, size, "orva_radio", set_key);
}

static ssize_t write_faults(struct file *file, const char __user *from, size_t size, loff_t *at) {
  return take_lines(from, size, "orva_faults", plan_fault);
}

static ssize_t write_commands(struct file *file, const char __user *from, size_t size, loff_t *at) {
  return take_lines(from, size, "orva_commands", forget_commands);
}

static int show_radio(struct seq_file *file, void *unused) {
  const struct radio_key *key;
  char value[1024];
  size_t i;

  rtnl_lock();
  radio_advance(&radio, now_us());
  for (i = 0; (key = radio_key(i)); i++) {
    if (!radio_get(&radio, key->name, value, sizeof(value))) seq_printf(file, "%s = %s\n", key->name, value);
  }
  seq_printf(file, "vq20x0_debug = %s\n", debug_text);
  seq_printf(file, "overruns = %u\n", overruns);
  rtnl_unlock();
  return 0;
}

static int show_faults(struct seq_file *file, void *unused) {
  unsigned int i;

  rtnl_lock();
  for (i = 0; i < fault_count; i++) {
    const struct fault *fault = &faults[i];

    seq_printf(file, "%s nth=%u times=%u error=%d fired=%u\n", fault->place, fault->nth, fault->times,
               fault->error, fault->fired);
  }
  rtnl_unlock();
  return 0;
}

/* A record in hexadecimal, without trailing zeros. */
static void show_record(struct seq_file *file, const u8 *record) {
  size_t i, size = RADIO_RECORD_SIZE;

  while (size && !record[size - 1]) size--;
  seq_putc(file, ' ');
  for (i = 0; i < size; i++) seq_printf(file, "%02x", record[i]);
}

/* One line each: microseconds, result, the record as received and as returned. */
static int show_commands(struct seq_file *file, void *unused) {
  unsigned int i;

  rtnl_lock();
  for (i = 0; i < heard_count; i++) {
    seq_printf(file, "%llu %d", heard[i].time_us, heard[i].result);
    show_record(file, heard[i].sent);
    show_record(file, heard[i].left);
    seq_putc(file, '\n');
  }
  rtnl_unlock();
  return 0;
}

static int open_radio(struct inode *inode, struct file *file) { return single_open(file, show_radio, NULL); }
static int open_faults(struct inode *inode, struct file *file) {
  return single_open(file, show_faults, NULL);
}
static int open_commands(struct inode *inode, struct file *file) {
  return single_open(file, show_commands, NULL);
}

#define CONTROL_FILE(name)                                                                                   \
  {                                                                                                          \
    "orva_" #name, {                                                                                         \
      .proc_open = open_##name, .proc_read = seq_read, .proc_write = write_##name, .proc_lseek = seq_lseek,  \
      .proc_release = single_release                                                                         \
    }                                                                                                        \
  }

static const struct {
  const char *name;
  struct proc_ops operations;
} control_files[] = {CONTROL_FILE(radio), CONTROL_FILE(faults), CONTROL_FILE(commands)};

static void remove_files(size_t count) {
  while (count--) remove_proc_entry(control_files[count].name, NULL);
}

static int create_files(void) {
  size_t i;

  for (i = 0; i < ARRAY_SIZE(control_files); i++) {
    if (!proc_create(control_files[i].name, 0600, NULL, &control_files[i].operations)) {
      remove_files(i);
      return -ENOMEM;
    }
  }
  return 0;
}

/* ---- The debug node ----------------------------------------------------------------------------------- */

static ssize_t bfgx_test_show(struct kobject *kobj, struct kobj_attribute *attribute, char *text) {
  return sysfs_emit(text, "%s\n", debug_text);
}

static ssize_t bfgx_test_store(struct kobject *kobj, struct kobj_attribute *attribute, const char *text,
                               size_t size) {
  if (size >= sizeof(debug_text)) return -EINVAL;
  memcpy(debug_text, text, size);
  debug_text[size] = 0;
  strim(debug_text);
  return size;
}

static struct kobj_attribute bfgx_test = __ATTR(bfgx_test, 0600, bfgx_test_show, bfgx_test_store);

static int create_debug_node(void) {
  int error;

  debug_folder = kobject_create_and_add("vq20x0_debug", NULL);
  if (!debug_folder) return -ENOMEM;
  error = sysfs_create_file(debug_folder, &bfgx_test.attr);
  if (error) kobject_put(debug_folder);
  return error;
}

/* ---- Loading and removing ----------------------------------------------------------------------------- */

static int create_interface(void) {
  int error;

  wlan = alloc_netdev(0, "wlan0", NET_NAME_USER, wlan_setup);
  if (!wlan) return -ENOMEM;
  eth_hw_addr_set(wlan, radio.mac);
  error = register_netdev(wlan);
  if (error) free_netdev(wlan);
  return error;
}

static void remove_interface(void) {
  unregister_netdev(wlan);
  free_netdev(wlan);
}

static int __init driver_load(void) {
  int error;

  BUILD_BUG_ON(sizeof(struct ifreq) != REQUEST_SIZE);
  radio_init(&radio);
  radio.up = 0;
  began = ktime_get();
  heard = vzalloc(array_size(HEARD_MAX, sizeof(*heard)));
  if (!heard) return -ENOMEM;
  error = create_interface();
  if (error) goto no_interface;
  error = create_debug_node();
  if (error) goto no_debug_node;
  error = create_files();
  if (!error) return 0;
  kobject_put(debug_folder);
no_debug_node:
  remove_interface();
no_interface:
  vfree(heard);
  return error;
}

static void __exit driver_remove(void) {
  remove_files(ARRAY_SIZE(control_files));
  kobject_put(debug_folder);
  remove_interface();
  vfree(heard);
}

module_init(driver_load);
module_exit(driver_remove);
MODULE_LICENSE("GPL");
MODULE_DESCRIPTION("WLAN driver of a phone in QEMU");
