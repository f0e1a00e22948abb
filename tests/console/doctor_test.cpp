// SPDX-License-Identifier: Apache-2.0
// What the doctor reads from a phone's kernel, on made-up files.
#include "console/doctor/denial.h"
#include "console/doctor/driver_module.h"
#include "console/doctor/process.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>

namespace console {
namespace {

namespace fs = std::filesystem;

constexpr const char *domain = "u:r:orva_factory_test:s0";

class made_up_phone : public testing::Test {
protected:
  made_up_phone() {
    auto pattern = fs::temp_directory_path() / "doctor.XXXXXX";
    root = mkdtemp(pattern.string().data());
    files = {root / "proc", root / "sys", root / "kmsg"};
  }
  ~made_up_phone() override { fs::remove_all(root); }

  void write(const std::string &path, const std::string &text) {
    fs::create_directories((root / path).parent_path());
    std::ofstream(root / path) << text;
  }

  /** Links the path to a target of this name, which need not exist. */
  void link(const std::string &path, const std::string &name) {
    fs::create_directories((root / path).parent_path());
    fs::create_symlink(root / "sys/bus" / name, root / path);
  }

  std::map<std::string, finding> process() {
    std::map<std::string, finding> all;
    for (auto &f : examine_process(files)) all[f.what] = f;
    return all;
  }

  fs::path root;
  system_files files;
};

TEST(Capabilities, AreNamed) {
  const std::pair<uint64_t, const char *> rows[] = {
      {0, "none"},
      {0x1000, "CAP_NET_ADMIN"},
      {0x13001, "CAP_CHOWN CAP_NET_ADMIN CAP_NET_RAW CAP_SYS_MODULE"},
      {uint64_t{1} << 40 | uint64_t{1} << 41, "CAP_CHECKPOINT_RESTORE 41"},
      {0x1ffffffffff, "all"},
      {0x1ffffffefff, "all but CAP_NET_ADMIN"},
  };
  for (auto &[mask, names] : rows) EXPECT_EQ(capability_names(mask), names) << std::hex << mask;
}

TEST_F(made_up_phone, ShowsTheEffectiveUser) {
  write(
      "proc/self/status",
      "Name:\tx\nUid:\t9000\t9001\t9002\t9003\nGid:\t0\t9004\t0\t0\nGroups:\t9005 9006 \nCapEff:\t0000000000001000\n");
  auto found = process();
  EXPECT_EQ(found["user"].found, "uid 9001, gid 9004, groups 9005 9006");
  EXPECT_EQ(found["capabilities"].state, presence::ok);
  write("proc/self/status", "Uid:\t0\t0\t0\t0\nGid:\t0\t0\t0\t0\nGroups:\t\nCapEff:\t0000000000002000\n");
  found = process();
  EXPECT_EQ(found["user"].found, "uid 0 (root), gid 0 (root), no further groups");
  EXPECT_EQ(found["capabilities"].state, presence::missing);
  EXPECT_NE(found["capabilities"].found.find("CAP_NET_RAW;"), std::string::npos);
}

TEST_F(made_up_phone, WithoutProcIsUnknown) {
  auto found = process();
  EXPECT_EQ(found["user"].state, presence::unknown);
  EXPECT_EQ(found["capabilities"].state, presence::unknown);
}

TEST_F(made_up_phone, ShowsTheDomainAndWhetherItIsEnforced) {
  EXPECT_EQ(process()["SELinux"].found, "not in this kernel");
  write("proc/self/attr/current", "unconfined\n");
  EXPECT_EQ(process()["SELinux"].found, "not in this kernel");
  write("proc/self/attr/current", std::string(domain) + '\0');
  EXPECT_EQ(process()["SELinux"].state, presence::unknown);
  write("sys/fs/selinux/enforce", "1");
  EXPECT_EQ(process()["SELinux"].found, "enforcing, domain u:r:orva_factory_test:s0");
  write("sys/fs/selinux/enforce", "0");
  EXPECT_NE(process()["SELinux"].found.find("permissive, domain u:r"), std::string::npos);
}

TEST_F(made_up_phone, NamesTheModuleBehindWlan0) {
  link("sys/class/net/wlan0/device/driver/module", "orva_wlan");
  EXPECT_EQ(examine_module(files, false).found, "orva_wlan is loaded and drives wlan0");
  fs::remove_all(root / "sys/class/net/wlan0/device/driver");
  link("sys/class/net/wlan0/device/driver", "vq_pcie");
  EXPECT_EQ(examine_module(files, false).found,
            "none: vq_pcie, which drives wlan0, is built into the kernel");
  fs::remove_all(root / "sys/class/net/wlan0/device");
  EXPECT_EQ(examine_module(files, false).found, "not named by the kernel, but wlan0 is there");
  write("proc/modules", "zram 32768 2 - Live 0x0\norva_wlan 69632 0 - Live 0x0\n");
  EXPECT_EQ(examine_module(files, false).found, "orva_wlan is loaded; wlan0 names no driver");
}

TEST_F(made_up_phone, SaysWhyThereIsNoWlan0) {
  auto why = [&] {
    auto f = examine_module(files, false);
    EXPECT_EQ(f.state, presence::missing);
    return f.found + " " + f.why;
  };
  EXPECT_NE(why().find("interfaces: none none of the 0 loaded modules"), std::string::npos) << why();
  write("proc/modules", "zram 32768 2 - Live 0x0\n");
  write("sys/class/net/lo/flags", "");
  EXPECT_NE(why().find("interfaces: lo none of the 1 loaded module"), std::string::npos) << why();
  write("proc/modules", "zram 32768 2 - Live 0x0\norva_wlan 69632 0 - Live 0x0\n");
  EXPECT_NE(why().find("orva_wlan is loaded but made no interface"), std::string::npos) << why();
  write("sys/class/net/wifi0/phy80211/name", "phy0");
  EXPECT_NE(why().find("named wifi0"), std::string::npos) << why();
}

TEST_F(made_up_phone, MissesNoModuleWhereTheDriverAnswers) {
  write("sys/class/net/lo/flags", "");
  auto f = examine_module(files, true);
  EXPECT_EQ(f.state, presence::unknown);
  EXPECT_EQ(f.found, "no wlan0; interfaces: lo");
}

/** An audit line as the kernel writes it. */
std::string audit(const std::string &permissions, const std::string &rest, const std::string &from = domain) {
  return "5,1203,98765432,-;type=1400 audit(1700000000.100:7): avc:  denied  { " + permissions +
         " } for  pid=1234 comm=\"orva-station-ph\" " + rest + " scontext=" + from + " tcontext=" + from +
         " tclass=udp_socket permissive=0\n";
}

constexpr access_sought private_request = {"ioctl", "udp_socket", 0x89F2};

TEST(Denial, IsFoundByPermissionClassNumberAndDomain) {
  const std::pair<std::string, bool> rows[] = {
      {audit("ioctl", "ioctlcmd=0x89f2"), true},
      {audit("ioctl", "ioctlcmd=89f2"), true},
      {audit("read ioctl", "ioctlcmd=0x89f2"), true},
      {audit("ioctl", "ioctlcmd=0x8914"), false},
      {audit("ioctl", "ioctlcmd=0x89f20"), false},
      {audit("create", "comm={ ioctl } ioctlcmd=0x89f2"), false},
      {audit("ioctl", "ioctlcmd=0x89f2", "u:r:shell:s0"), false},
      {"6,1,2,-;orva_wlan: ioctl denied\n", false},
      {"6,1,2,-;avc:  denied", false},
  };
  for (auto &[line, found] : rows)
    EXPECT_EQ(last_denial("6,0,0,-;booting\n" + line, private_request, domain).empty(), !found) << line;
  auto log = audit("ioctl", "ioctlcmd=0x89f2 ino=1") + audit("ioctl", "ioctlcmd=0x89f2 ino=2") +
             audit("ioctl", "ioctlcmd=0x8914");
  auto last = last_denial(log, private_request, domain);
  EXPECT_TRUE(last.starts_with("avc: denied { ioctl } for pid=1234")) << last;
  EXPECT_NE(last.find("ino=2"), std::string::npos) << last;
}

TEST_F(made_up_phone, ExplainsARefusalFromTheKernelLog) {
  auto explained = [&](int error) {
    return explain_denial(missing("private request", cause_of_error(error)), error, private_request, files);
  };
  EXPECT_EQ(explained(EACCES).why, cause_of_error(EACCES).why) << "no SELinux, no denial";
  write("proc/self/attr/current", domain);
  EXPECT_NE(explained(EACCES).why.find("cannot be read here"), std::string::npos);
  EXPECT_NE(explained(EACCES).cure.find("avc: denied { ioctl }"), std::string::npos);
  write("kmsg", "6,1,2,-;booting\n");
  EXPECT_NE(explained(EACCES).why.find("no denial of ioctl on udp_socket"), std::string::npos);
  write("kmsg", audit("ioctl", "ioctlcmd=0x89f2"));
  EXPECT_TRUE(explained(EACCES).why.starts_with("SELinux refused it: avc: denied { ioctl } for"))
      << explained(EACCES).why;
  EXPECT_EQ(explained(EINVAL).why, cause_of_error(EINVAL).why);
  EXPECT_EQ(explained(EPERM).why, cause_of_error(EPERM).why);
  write("kmsg", "5,1,2,-;avc:  denied  { net_admin } for  pid=9 capability=12 scontext=" +
                    std::string(domain) + " tcontext=" + domain + " tclass=capability permissive=0\n");
  EXPECT_TRUE(explained(EPERM).why.starts_with("SELinux refused it: avc: denied { net_admin }"))
      << explained(EPERM).why;
  EXPECT_EQ(explained(EACCES).check, private_request.search());
  EXPECT_EQ(explained(ENODEV).check, "");
}

TEST_F(made_up_phone, TheSearchByHandFindsTheLine) {
  write("kmsg", audit("ioctl", "ioctlcmd=0x89f2"));
  auto command = "cat " + files.kernel_log + private_request.search().substr(std::string("dmesg").size());
  EXPECT_EQ(std::system((command + " >/dev/null").c_str()), 0) << command;
  write("kmsg", audit("ioctl", "ioctlcmd=0x8914"));
  EXPECT_NE(std::system((command + " >/dev/null").c_str()), 0) << command;
}

}  // namespace
}  // namespace console
