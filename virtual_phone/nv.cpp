// SPDX-License-Identifier: Apache-2.0
// The NV service: 104-byte items keyed by number and name, in memory or in an SQLite file. The file is the
// store: a write is on disk before the call returns, a read asks the file.
#include "nv.h"

#include "faults.h"
#include "phone.h"
#include "script.h"
#include "state.h"
#include "trace.h"

#include "platform/platform.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
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

sqlite3 *file;

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
  void item_bytes(int column, uint8_t *bytes) const {
    auto size = static_cast<size_t>(sqlite3_column_bytes(statement_, column));
    if (size) memcpy(bytes, sqlite3_column_blob(statement_, column), std::min(size, item_size));
  }
  nv_item row() const {
    nv_item item{
        .number = static_cast<uint32_t>(sqlite3_column_int64(statement_, 0)), .name = {}, .bytes = {}};
    snprintf(item.name, sizeof(item.name), "%s", sqlite3_column_text(statement_, 1));
    item_bytes(2, item.bytes);
    return item;
  }

private:
  sqlite3_stmt *statement_ = nullptr;
};

int read_file(item_key key, uint8_t *bytes) {
  query found("SELECT bytes FROM nv WHERE number = ? AND name = ?");
  int step = found.key(key).step();
  if (step == SQLITE_ROW) found.item_bytes(0, bytes);
  return step == SQLITE_ROW || step == SQLITE_DONE ? nv_ok : nv_broken_store;
}

int write_file(item_key key, const uint8_t *bytes) {
  query stored("INSERT OR REPLACE INTO nv (number, name, bytes) VALUES (?, ?, ?)");
  return stored.key(key).bytes(bytes).step() == SQLITE_DONE ? nv_ok : nv_broken_store;
}

std::vector<nv_item> file_items() {
  std::vector<nv_item> items;
  query all("SELECT number, name, bytes FROM nv ORDER BY number, name");
  while (all.step() == SQLITE_ROW) items.push_back(all.row());
  return items;
}

void close_file() {
  sqlite3_close(file);
  file = nullptr;
}

/// A parent's connection must be neither used nor closed.
void leave_file() { file = nullptr; }

bool prepare_file() {
  return sqlite3_exec(
             file,
             "PRAGMA synchronous = FULL;"
             "CREATE TABLE IF NOT EXISTS nv (number INTEGER NOT NULL, name TEXT NOT NULL, bytes BLOB NOT "
             "NULL, PRIMARY KEY (number, name))",
             nullptr, nullptr, nullptr) == SQLITE_OK;
}

std::string open_file(const char *path) {
  close_file();
  int opened = sqlite3_open(path, &file);
  if (opened == SQLITE_OK) sqlite3_busy_timeout(file, 2000);
  if (opened == SQLITE_OK && prepare_file()) return "";
  std::string message = std::string(path) + ": cannot be used as an NV store: " + sqlite3_errmsg(file);
  close_file();
  return message;
}

void clear_file() { sqlite3_exec(file, "DELETE FROM nv", nullptr, nullptr, nullptr); }
bool in_file() { return file != nullptr; }

#else

int read_file(item_key, uint8_t *) { return nv_broken_store; }
int write_file(item_key, const uint8_t *) { return nv_broken_store; }
std::vector<nv_item> file_items() { return {}; }
void close_file() {}
void leave_file() {}
std::string open_file(const char *path) {
  return std::string(path) + ": this virtual phone was built without SQLite and keeps NV in memory only";
}
void clear_file() {}
bool in_file() { return false; }

#endif

// ---- Requests --------------------------------------------------------------------------------------------

bool valid_name(const char *name) { return name && name[0] && strlen(name) < sizeof(nv_item::name); }

int read_item(item_key key, uint8_t *bytes) {
  memset(bytes, 0, item_size);
  return in_file() ? read_file(key, bytes) : read_memory(key, bytes);
}

int write_item(item_key key, const uint8_t *bytes) {
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

std::vector<nv_item> items() { return in_file() ? file_items() : memory_items(); }

}  // namespace

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

int phone_nv_at(size_t i, uint32_t *number, char *name, size_t name_size, void *item) {
  auto all = items();
  if (i >= all.size()) return 0;
  if (number) *number = all[i].number;
  if (name) snprintf(name, name_size, "%s", all[i].name);
  if (item) memcpy(item, all[i].bytes, item_size);
  return 1;
}

void phone_nv_clear(void) {
  if (in_file()) clear_file();
  state().nv_count = 0;
}
