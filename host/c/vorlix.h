/* Vorlix for C: start a server, call its functions, read what comes back. docs/c.md is a tour.
 *
 * Outcomes. Functions that can fail return a vorlix_status. VORLIX_OK says that the library has done what it was asked
 * to do; what the function of the server made of the call is its result code, which is another matter.
 * vorlix_error_message() has a sentence for every other status. With a status other than VORLIX_OK nothing is written
 * through the pointers that were passed. Functions that return a pointer give NULL instead, with a message as well. The
 * library never ends the program, and a NULL where something is needed is VORLIX_BAD_USE.
 *
 * Ownership. What a *_free function exists for is the caller's, and every *_free takes NULL. All other pointers that
 * are returned are borrowed; each function says how long they last. What the caller passes in is copied.
 *
 * Threads. A server may be used by any thread, by one at a time: another one gets VORLIX_BUSY. A call and an XBUF
 * belong to one thread at a time, which the caller sees to. Functions that take none of them may be called by any
 * thread at any time. No thread is started, no handler installed and no signal mask changed. While there are servers
 * SIGUSR2 is ignored, unless the program has a handler of its own for it.
 *
 * Indexes begin with 0. */
#ifndef VORLIX_H
#define VORLIX_H

/* NOLINTBEGIN(modernize-deprecated-headers): C has no others */
#include <stdarg.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
/* NOLINTEND(modernize-deprecated-headers) */

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#pragma GCC visibility push(default)
#endif

typedef enum vorlix_status {
  VORLIX_OK = 0,
  VORLIX_BAD_USE = 1,   /* NULL where something is needed, an index beyond the last, something not yet to be asked */
  VORLIX_BAD_VALUE = 2, /* a value that cannot be had: no decimal number, no XBUF, an argument of another class */
  VORLIX_TOO_LARGE = 3, /* the call does not fit into the segment */
  VORLIX_NO_MEMORY = 4,
  VORLIX_SYSTEM = 5,    /* the operating system has no segment, process or descriptor left */
  VORLIX_NO_SERVER = 6, /* the server program was not found, or cannot be started */
  VORLIX_TIMEOUT = 7,   /* no answer in time; it may still come */
  VORLIX_DIED = 8,      /* the server has ended */
  VORLIX_BUSY = 9       /* another thread, or the process that forked this one, has the server */
} vorlix_status;

/* Why the last function that failed in this thread did so, as a sentence for people; "" when none has. Borrowed until
 * the next one fails in this thread. */
const char* vorlix_error_message(void);

/* The version of the library, such as "3.10". Never freed. */
const char* vorlix_version(void);

/* Frees what vorlix_fetch and vorlix_take_stderr give. */
void vorlix_free(void* memory);

/* ---- Servers ---------------------------------------------------------------------------------------------------- */

/* A running server, and the segment that it is called through. */
typedef struct vorlix_server vorlix_server;

/* How a server is started. Name the members that matter; the others have to be 0:
 *
 *   vorlix_options options = {.size = sizeof options, .timeout_ms = 500};
 */
typedef struct vorlix_options {
  size_t size;                    /* sizeof(vorlix_options), by which the library knows which members there are */
  const char* program;            /* path of vorlix.dll; NULL: where it is installed with this library, beside the
                                     program that runs, in ../libexec from there, or on the PATH */
  const char* const* environment; /* "NAME=VALUE" sets a variable for the server, "NAME" takes it away; ends with NULL.
                                     NULL: all as in this program. The language comes from ZENDLANG, LANG, LC_COLLATE
                                     and LC_CTYPE */
  size_t segment_size;            /* bytes for all values of one call and 24 for each, 4096 or more; 0: 1048576 */
  int32_t timeout_ms;             /* for each call, in milliseconds; 0: 10000 */
  int32_t capture_stderr;         /* not 0: the server's standard error is kept for vorlix_take_stderr */
} vorlix_options;

/* Starts a server; `options` may be NULL. *server is to be freed. A server that cannot set itself up ends, which the
 * first call reports. OK, BAD_USE, BAD_VALUE, NO_SERVER, SYSTEM, NO_MEMORY. */
vorlix_status vorlix_start(const vorlix_options* options, vorlix_server** server);

/* Lets go of a server, which ends with it. Calls that have not been freed keep it until they are: to end it in any
 * case, call vorlix_end before. In a child made by fork it goes on for the parent. */
void vorlix_server_free(vorlix_server* server);

/* Ends the server; all calls from now on are VORLIX_DIED. A further call tells the same again. *exit_status is 0 when
 * all is well, and -1 when the signal *signal ended the server, which is 0 otherwise; of a server that another process
 * started it is -1 with no signal. Both may be NULL. OK, BAD_USE, BUSY. */
vorlix_status vorlix_end(vorlix_server* server, int32_t* exit_status, int32_t* signal);

/* The process id of the server, 0 for NULL. Any thread, at any time. */
int32_t vorlix_server_pid(const vorlix_server* server);

/* Changes the time that calls wait for their answers; 0 stands for 10000 ms, as in the options. OK, BAD_USE, BUSY. */
vorlix_status vorlix_set_timeout(vorlix_server* server, int32_t milliseconds);

/* What the server has written to a captured standard error since the last call of this, complete for all calls that
 * were answered: *length bytes and a NUL, to be freed with vorlix_free. `length` may be NULL. OK, BAD_USE, BUSY,
 * NO_MEMORY. */
vorlix_status vorlix_take_stderr(vorlix_server* server, char** text, size_t* length);

/* ---- Calls ------------------------------------------------------------------------------------------------------ */

/* A call that is put together, and its answer. */
typedef struct vorlix_call vorlix_call;

/* A call of `function`, without arguments yet. *call is to be freed, before the server or after it. OK, BAD_USE,
 * NO_MEMORY. */
vorlix_status vorlix_call_new(vorlix_server* server, const char* function, vorlix_call** call);
void vorlix_call_free(vorlix_call* call);

/* Each of these adds the next argument. By value nothing comes back; *_ref passes a variable, which the server may
 * change. Nobody has to look at what they return: a call with a bad argument is not placed, and what it is placed with
 * tells why. OK, BAD_USE, BAD_VALUE, NO_MEMORY. */

vorlix_status vorlix_put_int(vorlix_call* call, int32_t value);
vorlix_status vorlix_put_int_ref(vorlix_call* call, int32_t value);

/* A number exactly as its decimal text, such as "-12.50" or "1e3", of up to 15 digits. */
vorlix_status vorlix_put_real(vorlix_call* call, const char* decimal);
vorlix_status vorlix_put_real_ref(vorlix_call* call, const char* decimal);
/* A number with the 15 most significant digits of `value` (14 where the point falls inside a pair of digits). */
vorlix_status vorlix_put_double(vorlix_call* call, double value);
vorlix_status vorlix_put_double_ref(vorlix_call* call, double value);

/* A text up to its NUL, or any bytes. A variable has room for `capacity` bytes. */
vorlix_status vorlix_put_text(vorlix_call* call, const char* text);
vorlix_status vorlix_put_text_ref(vorlix_call* call, const char* text, int32_t capacity);
vorlix_status vorlix_put_bytes(vorlix_call* call, const void* bytes, size_t length);
vorlix_status vorlix_put_bytes_ref(vorlix_call* call, const void* bytes, size_t length, int32_t capacity);

/* Several arguments at once. Each letter of `types` takes what the function above of that name takes; a capital stands
 * for *_ref:
 *
 *   i I  int32_t                  t  const char *text         T  const char *text, int32_t capacity
 *   d D  double                   b  const void *, size_t     B  const void *, size_t, int32_t capacity
 *   r R  const char *decimal
 *
 *   vorlix_put(call, "diitT", 1234.5, 10, 2, "RT", "", 80);
 */
vorlix_status vorlix_put(vorlix_call* call, const char* types, ...);
vorlix_status vorlix_vput(vorlix_call* call, const char* types, va_list arguments);

/* Arrays of `count` elements. Of texts, `lengths` may be NULL: then each ends with its NUL. A capacity below 0 is that
 * of the longest. */
vorlix_status vorlix_put_ints(vorlix_call* call, const int32_t* values, size_t count, bool by_ref);
vorlix_status vorlix_put_reals(vorlix_call* call, const char* const* decimals, size_t count, bool by_ref);
vorlix_status vorlix_put_doubles(vorlix_call* call, const double* values, size_t count, bool by_ref);
vorlix_status vorlix_put_texts(vorlix_call* call, const char* const* texts, const size_t* lengths, size_t count,
                               int32_t capacity, bool by_ref);

/* Places the call and waits for its answer, as long as the server's time-out says. *code is the result code; it may be
 * NULL. An answer that was not waited for holds the segment: later calls wait for it first, each within its own time.
 * A call may be placed again and again, each time with the values that were put. OK, and all statuses but NO_SERVER. */
vorlix_status vorlix_call_place(vorlix_call* call, int32_t* code);

/* The same in two steps, for a program that has something else to do while it waits.
 *
 * vorlix_call_start places the call. It waits for nothing but the late answer of an earlier call, at most
 * `milliseconds`; when that does not come it is VORLIX_TIMEOUT, and nothing is placed.
 *
 * vorlix_call_wait waits at most `milliseconds` for the answer. VORLIX_TIMEOUT says that it is still to come; wait
 * again, or go on without it. VORLIX_BAD_USE says that the call was not started, or another one since.
 *
 * Milliseconds below 0 are the server's time-out. */
vorlix_status vorlix_call_start(vorlix_call* call, int32_t milliseconds);
vorlix_status vorlix_call_wait(vorlix_call* call, int32_t milliseconds, int32_t* code);

/* What is wrong with the arguments, as far as it can be known without the server: "" for nothing. Before the call is
 * answered it is what the function table has against them; after one that was refused with code 7, 8, 9, 18 or 204,
 * which argument was at fault. Borrowed until the next use of the call; NULL only for NULL and for no memory. */
const char* vorlix_call_fault(vorlix_call* call);

/* What came back, for a call that was answered. `arg` counts the arguments as they were put. The last answer stays
 * until the call is started again. OK, BAD_USE, BAD_VALUE, NO_MEMORY. */

vorlix_status vorlix_get_int(const vorlix_call* call, size_t arg, int32_t* value);
vorlix_status vorlix_get_int_at(const vorlix_call* call, size_t arg, size_t element, int32_t* value);
/* The double nearest to the number. */
vorlix_status vorlix_get_double(const vorlix_call* call, size_t arg, double* value);
vorlix_status vorlix_get_double_at(const vorlix_call* call, size_t arg, size_t element, double* value);
/* The number as the shortest decimal text, exactly. Borrowed until the call is started again or freed. */
const char* vorlix_get_real(vorlix_call* call, size_t arg);
const char* vorlix_get_real_at(vorlix_call* call, size_t arg, size_t element);
/* A text, *length bytes and a NUL; `length` may be NULL. Borrowed until the call is started again or freed. */
const char* vorlix_get_text(const vorlix_call* call, size_t arg, size_t* length);
const char* vorlix_get_text_at(const vorlix_call* call, size_t arg, size_t element, size_t* length);

/* How many elements the argument has: 1 for what is no array. */
vorlix_status vorlix_get_count(const vorlix_call* call, size_t arg, size_t* count);
/* Whether a value came back: false for what was put by value. What a function only reads comes back as it was put. */
vorlix_status vorlix_get_returned(const vorlix_call* call, size_t arg, bool* returned);

/* ---- Large results ---------------------------------------------------------------------------------------------- */

/* Fetches the result that waits for dll_SendNext (that of dict_PackDX, dict_PackBufDX and dll_SetLocale, and the locale
 * description after the start), in blocks of `capacity` bytes. *code is the result code that ended the transfer: 0 for
 * all of it, 19 when nothing waits, 18 when the capacity is too small. It may be NULL.
 *
 * vorlix_fetch gives the result whole: *length bytes and a NUL, to be freed with vorlix_free; `length` may be NULL.
 * With a code other than 0, *bytes is NULL. vorlix_fetch_blocks hands over each piece as it comes; `take` gets
 * `context`, and the piece, which is borrowed until it returns. It returns true to go on and false to get no more, in
 * which case the rest is dropped. It must not use the server itself. VORLIX_BAD_VALUE: the pieces do not fit together.
 * Otherwise as vorlix_call_place. */
vorlix_status vorlix_fetch(vorlix_server* server, int32_t capacity, int32_t* code, char** bytes, size_t* length);
vorlix_status vorlix_fetch_blocks(vorlix_server* server, int32_t capacity, int32_t* code,
                                  bool (*take)(void* context, const char* bytes, size_t length), void* context);

/* ---- XBUFs ------------------------------------------------------------------------------------------------------ */

/* Named values, as functions take and return them packed in one text. */
typedef struct vorlix_xbuf vorlix_xbuf;

/* One of them. Later versions may add members at the end. */
typedef struct vorlix_item {
  char type;         /* 'X' for a text, 'N' for a number */
  uint32_t index;    /* 0 for a plain value, from 1 on for an element of an array */
  const char* name;  /* in lower case */
  const char* value; /* `length` bytes and a NUL */
  size_t length;
} vorlix_item;

/* An XBUF without items. *xbuf is to be freed. OK, BAD_USE, NO_MEMORY. */
vorlix_status vorlix_xbuf_new(vorlix_xbuf** xbuf);
/* Reads a packed XBUF. *xbuf is to be freed. VORLIX_BAD_VALUE: malformed or cut off; the message says what and where.
 * OK, BAD_USE, NO_MEMORY. */
vorlix_status vorlix_xbuf_read(const char* bytes, size_t length, vorlix_xbuf** xbuf);
void vorlix_xbuf_free(vorlix_xbuf* xbuf);

/* Adds an item behind the others. A name is a letter and then letters, digits and "_", 79 at most. The value of a
 * number is not looked at: the filter "format" puts there what a field shows. OK, BAD_USE,
 * BAD_VALUE, NO_MEMORY. */
vorlix_status vorlix_xbuf_add(vorlix_xbuf* xbuf, char type, const char* name, uint32_t index, const char* value,
                              size_t length);

/* Item number `position`, NULL (and no message) beyond the last. Borrowed until the XBUF is freed. */
const vorlix_item* vorlix_xbuf_at(const vorlix_xbuf* xbuf, size_t position);
/* The first item of this name, in any case of its letters, and index; NULL (and no message) for none. Borrowed
 * likewise.
 */
const vorlix_item* vorlix_xbuf_find(const vorlix_xbuf* xbuf, const char* name, uint32_t index);

/* The XBUF packed: *length bytes and a NUL; `length` may be NULL. Borrowed until this is called again or the XBUF is
 * freed; NULL only for NULL and for no memory. */
const char* vorlix_xbuf_pack(vorlix_xbuf* xbuf, size_t* length);

/* ---- The function table ----------------------------------------------------------------------------------------- */

/* How a function declares an argument. */
typedef enum vorlix_type {
  VORLIX_VAR_ARG = 0,          /* of any class */
  VORLIX_INT_BY_VALUE = 1,     /* takes integers and reals */
  VORLIX_INT_BY_REFERENCE = 2, /* takes integers */
  VORLIX_INT_ARRAY = 3,
  VORLIX_REAL_BY_VALUE = 4,     /* takes integers and reals */
  VORLIX_REAL_BY_REFERENCE = 5, /* takes reals */
  VORLIX_REAL_ARRAY = 6,
  VORLIX_ZSTRING = 7, /* takes texts, up to their first NUL */
  VORLIX_STRING = 8,  /* takes texts of any bytes */
  VORLIX_STRING_ARRAY = 9
} vorlix_type;

typedef enum vorlix_direction {
  VORLIX_IN = 0,  /* the host gives a value */
  VORLIX_OUT = 1, /* the function returns one */
  VORLIX_IN_OUT = 2
} vorlix_direction;

/* Later versions may add members at the end of these two. */
typedef struct vorlix_argument {
  const char* name;
  vorlix_type type;
  vorlix_direction direction;
  const char* sentence; /* what it is */
} vorlix_argument;

typedef struct vorlix_function {
  const char* name;
  const char* sentence; /* what it does */
  const char* sample;   /* words of a script to call it with, without what it only returns */
  size_t argument_count;
} vorlix_function;

/* Function number `index` of the table, NULL (and no message) beyond the last. Never freed, like all in this section.
 */
const vorlix_function* vorlix_function_at(size_t index);
/* The function of this name, in exactly these letters; NULL (and no message) for none. */
const vorlix_function* vorlix_function_find(const char* name);
/* Argument number `index` of a function of the table, NULL (and no message) beyond the last. */
const vorlix_argument* vorlix_argument_at(const vorlix_function* function, size_t index);

/* What a number that comes back means, in words: a result code where `argument` is NULL, else the value of the argument
 * of that name. NULL (and no message) where it only counts, or is 0 and success. */
const char* vorlix_meaning(const char* function, const char* argument, int32_t number);

#if defined(__GNUC__)
#pragma GCC visibility pop
#endif

#ifdef __cplusplus
}
#endif

#endif
