// SPDX-License-Identifier: Apache-2.0
// The NV service: 104-byte items keyed by number and name, in memory or in an SQLite file. The file is the
// store: a write is on disk before the call returns, a read asks the file. Several processes may use one
// file.
#include "nv.h"

#include "faults.h"
#include "phone.h"
#include "script.h"
#include "state.h"
#include "trace.h"

#include "platform/platform.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>
#include <vector>

#ifdef PHONE_HAS_SQLITE
#include <sqlite3.h>
#endif

namespace phone {
namespace {

constexpr size_t item_size = sizeof(nv_item::bytes);
enum { nv_ok = 0, nv_bad_request = 1, nv_broken_store = 2 };

struct item_key {
  uint32_t number;
  std::string_view name;
};

// ---- In memory -------------------------------------------------------------------------------------------

nv_item *find_item(item_key key) {
  auto &shared = state();
  auto *end = shared.nv + shared.nv_count;
  auto *found = std::find_if(shared.nv, end,
                             [&](auto &item) { return item.number == key.number && key.name == item.name; });
  return found == end ? nullptr : found;
}

int read_memory(item_key key, uint8_t *bytes) {
  if (const nv_item *item = find_item(key)) memcpy(bytes, item->bytes, item_size);
  return nv_ok;
}

int write_memory(item_key key, const uint8_t *bytes) {
  auto &shared = state();
  nv_item *item = find_item(key);
  if (!item) {
    if (shared.nv_count == max_nv_items) return nv_broken_store;
    item = &shared.nv[shared.nv_count++];
    *item = {.number = key.number, .name = {}, .bytes = {}};
    memcpy(item->name, key.name.data(), key.name.size());
  }
  memcpy(item->bytes, bytes, item_size);
  return nv_ok;
}

std::vector<nv_item> memory_items() {
  auto &shared = state();
  std::vector<nv_item> items(shared.nv, shared.nv + shared.nv_count);
  std::sort(items.begin(), items.end(), [](auto &a, auto &b) {
    return a.number != b.number ? a.number < b.number : strcmp(a.name, b.name) < 0;
  });
  return items;
}

// ---- In a file -------------------------------------------------------------------------------------------

#ifdef PHONE_HAS_SQLITE

sqlite3 *file;           // null until the store exists
std::string store_path;  // "" while NV is in memory
bool in_change = false;  // between phone_nv_begin and phone_nv_end

// Stored in the file's header, so that another program's SQLite file is recognised.
constexpr int64_t our_application = 0x4F4E5653, our_version = 1;

// The items of one listing, which several calls ask for one by one.
std::vector<nv_item> listed;
bool listing_is_current = false;

bool connect();

class query {
public:
  explicit query(const char *sql) { sqlite3_prepare_v2(file, sql, -1, &statement_, nullptr); }
  query(const query &) = delete;
  query &operator=(const query &) = delete;
  ~query() { sqlite3_finalize(statement_); }

  query &key(item_key key) {
    sqlite3_bind_int64(statement_, 1, key.number);
    sqlite3_bind_text(statement_, 2, key.name.data(), static_cast<int>(key.name.size()), SQLITE_TRANSIENT);
    return *this;
  }
  query &bytes(const uint8_t *bytes) {
    sqlite3_bind_blob(statement_, 3, bytes, static_cast<int>(item_size), SQLITE_TRANSIENT);
    return *this;
  }
  int step() { return statement_ ? sqlite3_step(statement_) : SQLITE_ERROR; }
  int64_t number(int column) const { return sqlite3_column_int64(statement_, column); }
  std::string text(int column) const {
    auto *text = sqlite3_column_text(statement_, column);
    return text ? reinterpret_cast<const char *>(text) : "";
  }
  void item_bytes(int column, uint8_t *bytes) const {
    auto size = static_cast<size_t>(sqlite3_column_bytes(statement_, column));
    if (size) memcpy(bytes, sqlite3_column_blob(statement_, column), std::min(size, item_size));
  }
  nv_item row() const {
    nv_item item{.number = static_cast<uint32_t>(number(0)), .name = {}, .bytes = {}};
    snprintf(item.name, sizeof(item.name), "%s", sqlite3_column_text(statement_, 1));
    item_bytes(2, item.bytes);
    return item;
  }

private:
  sqlite3_stmt *statement_ = nullptr;
};

bool execute(const char *sql) { return sqlite3_exec(file, sql, nullptr, nullptr, nullptr) == SQLITE_OK; }

/// Takes the write lock first: two readers that both want to write would block each other.
bool change(const char *sql) {
  listing_is_current = false;
  if (!execute("BEGIN IMMEDIATE")) return false;
  if (execute(sql) && execute("COMMIT")) return true;
  execute("ROLLBACK");
  return false;
}

int read_file(item_key key, uint8_t *bytes) {
  if (!connect()) return nv_broken_store;
  if (!file) return nv_ok;
  query found("SELECT bytes FROM nv WHERE number = ? AND name = ?");
  int step = found.key(key).step();
  if (step == SQLITE_ROW) found.item_bytes(0, bytes);
  return step == SQLITE_ROW || step == SQLITE_DONE ? nv_ok : nv_broken_store;
}

bool list_file() {
  listed.clear();
  if (!connect()) return false;
  if (!file) return true;
  query all("SELECT number, name, bytes FROM nv ORDER BY number, name");
  int step;
  while ((step = all.step()) == SQLITE_ROW) listed.push_back(all.row());
  return step == SQLITE_DONE;
}

/// A listing is read at once: item by item it would miss some while another process writes.
const std::vector<nv_item> *file_items(bool from_start) {
  if (from_start || !listing_is_current) listing_is_current = list_file();
  return listing_is_current ? &listed : nullptr;
}

void disconnect() {
  sqlite3_close(file);
  file = nullptr;
  in_change = false;
  listing_is_current = false;
}

void close_file() {
  disconnect();
  store_path.clear();
}

/// A parent's connection must be neither used nor closed.
void leave_file() {
  file = nullptr;
  in_change = false;
  store_path.clear();
  listing_is_current = false;
}

/// SQLite's own wait would pass on the virtual clock, at once, while the other process needs real time.
int wait_for_other_process(void *, int tries) {
  constexpr int most_tries = 5000;
  const timespec pause{.tv_sec = 0, .tv_nsec = 2'000'000};
  if (tries >= most_tries) return 0;
  nanosleep(&pause, nullptr);
  return 1;
}

int64_t pragma(const char *sql) {
  query value(sql);
  return value.step() == SQLITE_ROW ? value.number(0) : -1;
}

/// The first row of a query whose rows are faults; "" without any.
std::string fault_found(const char *sql) {
  query found(sql);
  int step = found.step();
  return step == SQLITE_ROW ? found.text(0) : step == SQLITE_DONE ? "" : sqlite3_errmsg(file);
}

/// Files written before the header was marked have 0 for both numbers; their table decides.
std::string header_fault() {
  int64_t application = pragma("PRAGMA application_id"), version = pragma("PRAGMA user_version");
  if (application < 0 || version < 0) return sqlite3_errmsg(file);
  if (application != 0 && application != our_application)
    return "it is an SQLite file of another program (application id " + std::to_string(application) + ")";
  if (version > our_version)
    return "its format " + std::to_string(version) + " is newer than " + std::to_string(our_version);
  return "";
}

std::string table_fault() {
  std::string foreign =
      fault_found("SELECT 'it is an SQLite file of another program: it has the ' || type || ' ' || name "
                  "FROM sqlite_master WHERE tbl_name <> 'nv'");
  if (!foreign.empty()) return foreign;
  if (pragma("SELECT count(*) FROM pragma_table_info('nv')") == 0) return "it has no table of NV items";
  return fault_found("SELECT 'its table of NV items has other columns' WHERE "
                     "(SELECT group_concat(name || ' ' || (pk > 0)) FROM pragma_table_info('nv')) "
                     "IS NOT 'number 1,name 1,bytes 0'");
}

std::string content_fault() {
  std::string damage = fault_found("SELECT 'it is damaged: ' || integrity_check FROM pragma_integrity_check "
                                   "WHERE integrity_check <> 'ok'");
  if (!damage.empty()) return damage;
  static const std::string sql =
      "SELECT 'it is damaged: item ' || quote(number) || ' ' || quote(name) || ' is not ' || " +
      std::to_string(item_size) +
      " || ' bytes under a number and a name' FROM nv WHERE typeof(number) <> 'integer' OR "
      "number NOT BETWEEN 0 AND 4294967295 OR typeof(name) <> 'text' OR length(name) NOT BETWEEN 1 AND " +
      std::to_string(sizeof(nv_item::name) - 1) + " OR typeof(bytes) <> 'blob' OR length(bytes) <> " +
      std::to_string(item_size);
  return fault_found(sql.c_str());
}

/// Whether the open file is a sound store; "" if it is.
std::string store_fault() {
  if (!execute("PRAGMA synchronous = FULL")) return sqlite3_errmsg(file);
  for (auto *fault_of : {header_fault, table_fault, content_fault}) {
    std::string fault = fault_of();
    if (!fault.empty()) return fault;
  }
  return "";
}

std::string open_database(const char *path, int flags) {
  int opened = sqlite3_open_v2(path, &file, flags, nullptr);
  if (opened == SQLITE_OK) sqlite3_busy_handler(file, wait_for_other_process, nullptr);
  return opened == SQLITE_OK ? "" : sqlite3_errmsg(file);
}

/// SQLite takes an empty file for a new database, but a store is never empty: this one was cut.
std::string open_existing(const char *path, const struct stat &found) {
  if (S_ISDIR(found.st_mode)) return "it is a folder";
  if (!S_ISREG(found.st_mode)) return "it is not a regular file";
  if (found.st_size == 0) return "it is empty (0 bytes): remove it to begin a new store, or restore a copy";
  std::string fault = open_database(path, SQLITE_OPEN_READWRITE);
  if (fault.empty()) fault = store_fault();
  if (!fault.empty()) disconnect();
  return fault;
}

std::string folder_of(const std::string &path) {
  auto slash = path.rfind('/');
  return slash == path.npos ? "." : path.substr(0, slash + 1);
}

/// Opens the store if it exists; the first write creates it. "" or what is wrong.
std::string open_if_there() {
  struct stat found;
  if (stat(store_path.c_str(), &found) == 0) return open_existing(store_path.c_str(), found);
  if (errno == ENOENT && access(folder_of(store_path).c_str(), W_OK | X_OK) == 0) return "";
  return strerror(errno);
}

bool connect() { return file || open_if_there().empty(); }

void sync_folder(const std::string &path) {
  int folder = ::open(folder_of(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (folder < 0) return;
  fsync(folder);
  ::close(folder);
}

/// The store appears under its name when it is complete. Another process may be first; then its store is
/// taken.
bool create_store() {
  std::string fresh = store_path + ".new-" + std::to_string(getpid());
  unlink(fresh.c_str());
  static const std::string sql =
      "PRAGMA application_id = " + std::to_string(our_application) +
      "; PRAGMA user_version = " + std::to_string(our_version) +
      "; CREATE TABLE nv (number INTEGER NOT NULL, name TEXT NOT NULL, bytes BLOB NOT NULL, "
      "PRIMARY KEY (number, name))";
  bool made = open_database(fresh.c_str(), SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE).empty() &&
              execute("PRAGMA synchronous = FULL") && change(sql.c_str());
  disconnect();
  bool placed = made && (link(fresh.c_str(), store_path.c_str()) == 0 || errno == EEXIST);
  if (made && !placed && access(store_path.c_str(), F_OK) != 0)  // a file system without links
    placed = rename(fresh.c_str(), store_path.c_str()) == 0;
  unlink(fresh.c_str());
  if (placed) sync_folder(store_path);
  return placed;
}

bool begin_in_file() {
  if (!connect() || (!file && !(create_store() && connect()))) return false;
  return in_change = execute("BEGIN IMMEDIATE");
}

bool end_in_file(bool keep) {
  listing_is_current = false;
  in_change = false;
  if (keep && execute("COMMIT")) return true;
  return execute("ROLLBACK") && !keep;
}

int write_file(item_key key, const uint8_t *bytes) {
  bool alone = !in_change;
  if (alone && !begin_in_file()) return nv_broken_store;
  listing_is_current = false;
  bool stored = query("INSERT OR REPLACE INTO nv (number, name, bytes) VALUES (?, ?, ?)")
                    .key(key)
                    .bytes(bytes)
                    .step() == SQLITE_DONE;
  if (alone) stored = end_in_file(stored) && stored;
  return stored ? nv_ok : nv_broken_store;
}

std::string open_file(const char *path) {
  close_file();
  store_path = path;
  std::string fault = open_if_there();
  if (!fault.empty()) close_file();
  return fault.empty() ? "" : std::string(path) + ": cannot be used as an NV store: " + fault;
}

bool clear_file() { return connect() && (!file || change("DELETE FROM nv")); }
bool in_file() { return !store_path.empty(); }

#else

int read_file(item_key, uint8_t *) { return nv_broken_store; }
int write_file(item_key, const uint8_t *) { return nv_broken_store; }
const std::vector<nv_item> *file_items(bool) { return nullptr; }
void close_file() {}
void leave_file() {}
std::string open_file(const char *path) {
  return std::string(path) + ": this virtual phone was built without SQLite and keeps NV in memory only";
}
bool clear_file() { return false; }
bool begin_in_file() { return false; }
bool end_in_file(bool) { return false; }
bool in_file() { return false; }

#endif

// ---- Requests --------------------------------------------------------------------------------------------

bool valid_name(const char *name) { return name && name[0] && strlen(name) < sizeof(nv_item::name); }

int read_item(item_key key, uint8_t *bytes) {
  memset(bytes, 0, item_size);
  return in_file() ? read_file(key, bytes) : read_memory(key, bytes);
}

int write_item(item_key key, const uint8_t *bytes) {
  rf::before_nv_changes();
  return in_file() ? write_file(key, bytes) : write_memory(key, bytes);
}

std::string place_of(std::string what, uint32_t number) {
  what += ':';
  what += std::to_string(number);
  return what;
}

/// Whether this write is reported as done and forgotten.
bool loses(uint32_t number) { return use_named(place_of("nv_lose", number)).fails; }

int serve(uint32_t op, item_key key, size_t size, void *buffer) {
  uint8_t bytes[item_size] = {};
  if (op == ORVA_NV_READ) {
    int result = read_item(key, bytes);
    if (result == nv_ok) memcpy(buffer, bytes, size);
    return result;
  }
  memcpy(bytes, buffer, size);
  return loses(key.number) ? nv_ok : write_item(key, bytes);
}

verdict judge(uint32_t op, uint32_t number) {
  verdict any = use(fn_kevoOperaNVWR);
  verdict this_one = use_named(place_of(op == ORVA_NV_READ ? "nv_read" : "nv_write", number));
  return any.fails ? any : this_one;
}

int play(const struct phone_event &plan, uint32_t size, void *buffer) {
  if (buffer && plan.kind == PHONE_NV_READ) memcpy(buffer, plan.data, std::min<size_t>(size, plan.size));
  return static_cast<int>(plan.result);
}

}  // namespace

bool nv_is_lasting() { return in_file(); }

void reset_nv() {
  close_file();
  state().nv_count = 0;
}

void part_nv() {
  leave_file();
  state().nv_count = 0;
}

}  // namespace phone

using namespace phone;

int kevoOperaNVWR(uint32_t op, uint32_t nv_num, const char *nv_name, uint32_t size, void *buf) {
  bool valid = op <= ORVA_NV_READ && valid_name(nv_name) && buf && size >= 1 && size <= item_size;
  verdict judged = judge(op, nv_num);
  auto kind = op == ORVA_NV_READ ? PHONE_NV_READ : PHONE_NV_WRITE;
  auto *plan = phone_scripted(kind);
  int result = plan           ? play(*plan, size, buf)
               : judged.fails ? judged.value
               : !valid       ? static_cast<int>(nv_bad_request)
                              : serve(op, {nv_num, nv_name}, size, buf);
  bool has_data = valid && (op == ORVA_NV_WRITE || result == nv_ok);
  record({.kind = kind,
          .result = result,
          .number = {nv_num},
          .name = nv_name ? nv_name : "",
          .data = {static_cast<const char *>(buf), has_data ? size : 0}});
  return result;
}

int phone_nv_open(const char *path, char *error, size_t error_size) {
  rf::driver_came_up();
  if (!path) {
    close_file();
    return 0;
  }
  std::string message = open_file(path);
  if (message.empty()) return 0;
  if (error) snprintf(error, error_size, "%s", message.c_str());
  return -1;
}

int phone_nv_get(uint32_t number, const char *name, void *item) {
  if (!valid_name(name) || !item) return -1;
  return read_item({number, name}, static_cast<uint8_t *>(item)) == nv_ok ? 0 : -1;
}

int phone_nv_put(uint32_t number, const char *name, const void *item) {
  if (!valid_name(name) || !item) return -1;
  return write_item({number, name}, static_cast<const uint8_t *>(item)) == nv_ok ? 0 : -1;
}

int phone_nv_begin(void) {
  rf::before_nv_changes();
  return !in_file() || begin_in_file() ? 0 : -1;
}

int phone_nv_end(int keep) { return !in_file() || end_in_file(keep != 0) ? 0 : -1; }

int phone_nv_at(size_t i, uint32_t *number, char *name, size_t name_size, void *item) {
  const auto in_memory = in_file() ? std::vector<nv_item>() : memory_items();
  const auto *all = in_file() ? file_items(i == 0) : &in_memory;
  if (!all) return -1;
  if (i >= all->size()) return 0;
  const auto &found = (*all)[i];
  if (number) *number = found.number;
  if (name) snprintf(name, name_size, "%s", found.name);
  if (item) memcpy(item, found.bytes, item_size);
  return 1;
}

int phone_nv_clear(void) {
  rf::before_nv_changes();
  if (in_file() && !clear_file()) return -1;
  state().nv_count = 0;
  return 0;
}
