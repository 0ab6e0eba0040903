// SPDX-License-Identifier: MIT
// A log that is switched off.
#include "commonlog.h"

void *EnableLog(int, const char *, const char *)
{
    return nullptr;
}

void DisableLog(void *) {}

void DebugLog(void *, const char *, ...) {}

void InfoLog(void *, const char *, ...) {}

void WarnLog(void *, const char *, ...) {}

void CriticalLog(void *, const char *, ...) {}
