/* SPDX-License-Identifier: Apache-2.0 */
/* The words of the recording format. */
#include "phone.h"

#include <assert.h>

static const struct {
  const char *word, *fields, *meaning;
} kinds[] = {
    [PHONE_SOCKET] = {"socket", "", "opened a socket"},
    [PHONE_IOCTL] = {"ioctl", "on command sent left name", "sent a driver command"},
    [PHONE_CLOSE] = {"close", "on", "closed a descriptor"},
    [PHONE_FORK] = {"fork", "", "started a child"},
    [PHONE_EXEC] = {"exec", "text", "a child ran a shell command"},
    [PHONE_WAIT] = {"wait", "status", "waited for a child"},
    [PHONE_POPEN] = {"popen", "text", "started a command whose output is read"},
    [PHONE_FREAD] = {"fread", "data", "read that output"},
    [PHONE_PCLOSE] = {"pclose", "", "ended that command"},
    [PHONE_OPEN] = {"open", "text", "opened the debug node"},
    [PHONE_WRITE] = {"write", "data", "wrote to the debug node"},
    [PHONE_SLEEP] = {"sleep", "us", "paused"},
    [PHONE_LOG] = {"log", "priority name text", "wrote a log line"},
    [PHONE_SUBCHIP] = {"subchip", "", "asked which chip is fitted"},
    [PHONE_NV_READ] = {"nv_read", "number name data", "read an NV item"},
    [PHONE_NV_WRITE] = {"nv_write", "number name data", "wrote an NV item"},
    [PHONE_SECURE] = {"secure", "nth name", "a bounds-checked function failed"},
};
static_assert(sizeof(kinds) / sizeof(kinds[0]) == PHONE_EVENT_KINDS, "a row per kind");

const char *phone_event_word(size_t kind, const char **fields, const char **meaning) {
  if (kind >= PHONE_EVENT_KINDS) return NULL;
  if (fields) *fields = kinds[kind].fields;
  if (meaning) *meaning = kinds[kind].meaning;
  return kinds[kind].word;
}
