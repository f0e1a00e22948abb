// SPDX-License-Identifier: Apache-2.0
// The watched functions, called as the library calls them.
#include "watcher/watcher.h"

#include "platform/platform.h"

#include <arpa/inet.h>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <net/if.h>
#include <sstream>
#include <string>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

constexpr int some_errno = 77;
constexpr const char *node = "/sys/vq20x0_debug/bfgx_test";

struct driver_record {
  uint32_t magic, command;
  uint8_t data[256];
};

int request(int socket, driver_record *record) {
  ifreq with{};
  strcpy(with.ifr_name, "wlan0");
  with.ifr_data = reinterpret_cast<char *>(record);
  return ioctl(socket, 0x89F2, &with);
}

pid_t start_shell(const char *command, const char *shell = "/system/bin/sh") {
  pid_t child = fork();
  if (child == 0) {
    execl(shell, "sh", "-c", command, static_cast<char *>(nullptr));
    _exit(127);
  }
  return child;
}

std::string kinds() {
  std::string all;
  for (size_t i = 0; i < watcher_count(); i++) {
    all += (i ? " " : "") + std::string(phone_event_word(watcher_contact(i)->kind, nullptr, nullptr));
  }
  return all;
}

const struct phone_event &contact_of(phone_event_kind kind) {
  static const struct phone_event none {};
  for (size_t i = 0; i < watcher_count(); i++) {
    if (watcher_contact(i)->kind == kind) return *watcher_contact(i);
  }
  ADD_FAILURE() << "no such contact among: " << kinds();
  return none;
}

class watcher : public testing::Test {
protected:
  void SetUp() override {
    phone_reset();
    open(1 << 12, 1 << 20);
  }
  void TearDown() override {
    watcher_watch(0);
    EXPECT_EQ(watcher_left_open(), 0u);
    EXPECT_EQ(phone_left_open(), 0u);
  }
  static void open(size_t contacts, size_t bytes) {
    watcher_open(contacts, bytes);
    watcher_use_clock(phone_now_us);
    watcher_watch(1);
  }
};

TEST_F(watcher, defines_each_function_through_which_the_library_reaches_the_phone) {
  std::ifstream imports(IMPORTS);
  size_t found = 0;
  for (std::string line; std::getline(imports, line);) {
    std::string group, name;
    std::istringstream(line) >> group >> name;
    if ((group != "system" && group != "platform") || name == "_exit" || name.ends_with("_s")) continue;
    Dl_info of_name{}, of_program{};
    ASSERT_NE(dladdr(dlsym(RTLD_DEFAULT, name.c_str()), &of_name), 0) << name;
    ASSERT_NE(dladdr(reinterpret_cast<void *>(&contact_of), &of_program), 0);
    EXPECT_EQ(of_name.dli_fbase, of_program.dli_fbase) << name << " is not watched";
    found++;
  }
  EXPECT_EQ(found, 16u);
}

/// Every contact that can leave an errno, once refused and once taken.
void use_everything() {
  driver_record record{2050, 1, {}};
  int one = socket(AF_INET, SOCK_DGRAM, 0);
  request(one, &record);
  close(one);
  int file = ::open(node, O_WRONLY);
  if (write(file, "4", 1) < 0 && errno == 0) ADD_FAILURE();
  close(file);
  usleep(1);
  sleep(1);
  __android_log_print(ORVA_LOG_INFO, "tag", "%d", 5);
  get_orva_connectivity_subchip();
  char item[104] = {};
  kevoOperaNVWR(ORVA_NV_READ, 340, "WINVRAM", sizeof item, item);
  pid_t child = start_shell("true");
  int status = 0;
  waitpid(child, &status, 0);
  FILE *stream = popen("echo up", "r");
  if (!stream) return;
  EXPECT_EQ(fread(item, 1, sizeof item, stream), 3u);
  pclose(stream);
}

TEST_F(watcher, leaves_errno_alone_when_nothing_fails) {
  errno = some_errno;
  use_everything();
  EXPECT_EQ(errno, some_errno);
  EXPECT_EQ(kinds(),
            "socket ioctl close open write close sleep sleep log subchip nv_read fork exec wait popen "
            "fread pclose");
}

TEST_F(watcher, passes_refusals_on_and_keeps_their_errno) {
  const struct {
    const char *place;
    phone_event_kind kind;
    int error;
  } refusals[] = {{"socket", PHONE_SOCKET, EMFILE}, {"ioctl", PHONE_IOCTL, EACCES},
                  {"close", PHONE_CLOSE, EIO},      {"fork", PHONE_FORK, EAGAIN},
                  {"popen", PHONE_POPEN, ENOMEM},   {"open", PHONE_OPEN, EACCES},
                  {"write", PHONE_WRITE, ENOSPC},   {"waitpid", PHONE_WAIT, ECHILD}};
  for (auto &refusal : refusals) {
    SCOPED_TRACE(refusal.place);
    phone_reset();
    watcher_clear();
    ASSERT_GE(phone_fault(refusal.place, 1, 1, refusal.error), 0);
    errno = 0;
    use_everything();
    const struct phone_event &seen = contact_of(refusal.kind);
    EXPECT_EQ(seen.error, refusal.error);
    EXPECT_EQ(seen.result, refusal.kind == PHONE_POPEN ? 0 : -1);
  }
}

TEST_F(watcher, shows_a_driver_command_as_sent_and_as_left) {
  driver_record record{2050, 12, {}};
  int one = socket(AF_INET, SOCK_DGRAM, 0);
  ASSERT_EQ(request(one, &record), 0);
  EXPECT_LT(request(one, nullptr), 0);
  EXPECT_EQ(errno, EFAULT);
  close(one);
  const struct phone_event &seen = contact_of(PHONE_IOCTL);
  ASSERT_EQ(seen.size, 2 * sizeof record);
  driver_record sent{2050, 12, {}};
  EXPECT_EQ(memcmp(seen.data, &sent, sizeof sent), 0);
  EXPECT_EQ(memcmp(static_cast<const char *>(seen.data) + sizeof sent, &record, sizeof record), 0);
  EXPECT_NE(memcmp(&sent, &record, sizeof record), 0);
  EXPECT_EQ(watcher_contact(2)->size, 0u);
}

TEST_F(watcher, learns_a_shell_commands_status_from_the_wait) {
  const struct {
    const char *shell, *command;
    int64_t result;
    int error;
  } cases[] = {{"/system/bin/sh", "exit 3", 3, 0},
               {"/system/bin/sh", "no_such_program", 127, 0},
               {"/bin/sh", "exit 4", 4, 0},
               {"/bin/sh", "kill -9 $$", 128 + SIGKILL, 0},
               {"/no/such/sh", "true", -1, ENOENT}};
  for (auto &each : cases) {
    SCOPED_TRACE(each.command);
    watcher_clear();
    pid_t child = start_shell(each.command, each.shell);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(kinds(), "fork exec wait");
    const struct phone_event &seen = contact_of(PHONE_EXEC);
    EXPECT_EQ(seen.result, each.result);
    EXPECT_EQ(seen.error, each.error);
    EXPECT_EQ(seen.process, child);
    EXPECT_STREQ(seen.text, each.command);
    EXPECT_EQ(contact_of(PHONE_WAIT).number[0], status);
  }
}

TEST_F(watcher, counts_what_it_has_no_room_for) {
  open(3, 1 << 16);
  for (int i = 0; i < 5; i++) usleep(1);
  EXPECT_EQ(watcher_count(), 3u);
  EXPECT_EQ(watcher_dropped(), 2u);
  watcher_clear();
  EXPECT_EQ(watcher_dropped(), 0u);
  open(100, 64);
  usleep(1);
  __android_log_print(ORVA_LOG_INFO, "tag", "%s", std::string(100, 'x').c_str());
  usleep(1);  // has room, but would follow a gap
  EXPECT_EQ(kinds(), "sleep");
  EXPECT_EQ(watcher_dropped(), 2u);
}

TEST_F(watcher, records_the_watched_thread_only) {
  std::thread([] { use_everything(); }).join();
  EXPECT_EQ(watcher_count(), 0u);
  EXPECT_EQ(watcher_watch(0), 1);
  use_everything();
  EXPECT_EQ(watcher_count(), 0u);
}

TEST_F(watcher, leaves_out_what_the_phones_own_functions_do) {
  std::string store = testing::TempDir() + "watcher_test.nv";
  ASSERT_EQ(phone_nv_open(store.c_str(), nullptr, 0), 0);
  char item[104] = "pa2ga0=1,2,3;";
  EXPECT_EQ(kevoOperaNVWR(ORVA_NV_WRITE, 340, "WINVRAM", sizeof item, item), 0);
  EXPECT_EQ(kinds(), "nv_write");
  EXPECT_EQ(contact_of(PHONE_NV_WRITE).size, sizeof item);
  phone_nv_open(nullptr, nullptr, 0);
  unlink(store.c_str());
}

TEST_F(watcher, ignores_what_is_not_the_phones) {
  int tcp = socket(AF_INET, SOCK_STREAM, 0), file = ::open("/dev/null", O_WRONLY);
  EXPECT_EQ(write(file, "x", 1), 1);
  close(tcp);
  close(file);
  FILE *text = fopen(IMPORTS, "r");
  char byte = 0;
  EXPECT_EQ(fread(&byte, 1, 1, text), 1u);
  fclose(text);
  EXPECT_EQ(kinds(), "");
}

TEST_F(watcher, forgets_a_descriptor_that_was_closed_unseen) {
  int one = socket(AF_INET, SOCK_DGRAM, 0);
  watcher_watch(0);
  close(one);
  watcher_watch(1);
  EXPECT_EQ(::open("/dev/null", O_WRONLY), one);
  close(one);
  EXPECT_EQ(kinds(), "socket");
}

/// Children of several threads record at the same time, one of them while it is killed.
TEST_F(watcher, is_safe_across_forks) {
  constexpr int each = 20;
  auto run = [] {
    watcher_watch(1);
    for (int i = 0; i < each; i++) {
      pid_t child = start_shell("exit 3");
      int status = 0;
      EXPECT_EQ(waitpid(child, &status, 0), child);
      EXPECT_EQ(WEXITSTATUS(status), 3);
    }
  };
  std::vector<std::thread> all;
  for (int i = 0; i < 3; i++) all.emplace_back(run);
  for (auto &one : all) one.join();
  EXPECT_EQ(watcher_count(), 3u * 3u * each);
  for (size_t i = 0; i < watcher_count(); i++) {
    auto *seen = watcher_contact(i);
    if (seen->kind == PHONE_EXEC) { EXPECT_EQ(seen->result, 3); }
  }
}

}  // namespace
