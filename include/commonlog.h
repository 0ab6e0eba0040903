/* SPDX-License-Identifier: MIT */
/* The logging library, libcommonlog.so, as the backend reaches it. virtual/commonlog has a stand-in. */
#ifndef PELSANE_COMMONLOG_H
#define PELSANE_COMMONLOG_H

#ifdef __cplusplus
extern "C" {
#endif

/* Lets the compiler check the arguments against the printf-style format. */
#define COMMONLOG_FORMAT __attribute__((format(printf, 2, 3)))

/* A log under an owner's and a log's name; the handle is valid until DisableLog. */
void *EnableLog(int reserved, const char *owner, const char *name);
void DisableLog(void *log);

/* One message, without a line end. Callable from any thread and from signal handlers. */
void DebugLog(void *log, const char *format, ...) COMMONLOG_FORMAT;
void InfoLog(void *log, const char *format, ...) COMMONLOG_FORMAT;
void WarnLog(void *log, const char *format, ...) COMMONLOG_FORMAT;
void CriticalLog(void *log, const char *format, ...) COMMONLOG_FORMAT;

#ifdef __cplusplus
}
#endif

#endif
