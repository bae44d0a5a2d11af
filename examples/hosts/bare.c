/* A whole host in C against nothing but docs/protocol.md: no header and no library of the project. It makes a segment,
 * starts the server, has it show a date, and ends it. From the root of the project:
 *
 *   gcc -std=c11 -o bare examples/hosts/bare.c && ./bare build/demo/vorlix.dll */
#define _XOPEN_SOURCE 700
#include <signal.h>
#include <stdatomic.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/shm.h>
#include <sys/wait.h>
#include <unistd.h>

enum { SEGMENT_SIZE = 65536, MOST_DESCRIPTORS = 51, INTEGER = 1, STRING = 3, NO_RESULT = INT32_MIN };

struct descriptor {
  int32_t class, by_reference;
  uint32_t address;
  int32_t capacity, stride, count;
};

struct block {
  char magic[8];
  int32_t version, host_pid;
  uint32_t host_base; /* 0: addresses are offsets in the segment */
  _Atomic int32_t result_code;
  int32_t request[3], argument_count;
  struct descriptor arguments[MOST_DESCRIPTORS]; /* the function's name is the first */
  char elements[SEGMENT_SIZE - 40 - MOST_DESCRIPTORS * 24];
};
_Static_assert(offsetof(struct block, result_code) == 20 && sizeof(struct block) == SEGMENT_SIZE, "as laid down");

struct text {
  int32_t length;
  char bytes[];
};

static struct block* block;
static size_t used; /* of the elements */
static pid_t server;
static sigset_t answers;

static void fail(const char* why) {
  fprintf(stderr, "%s\n", why);
  exit(1);
}

/* Adds an argument to the call, and says where its element lies. */
static void* add(int32_t class, int32_t by_reference, int32_t capacity, size_t size) {
  if (block->argument_count == MOST_DESCRIPTORS || size > sizeof block->elements - used) fail("the call is too large");
  const uint32_t address = (uint32_t)(offsetof(struct block, elements) + used);
  block->arguments[block->argument_count++] = (struct descriptor){class, by_reference, address, capacity, 0, 1};
  used += (size + 3) / 4 * 4;
  return (char*)block + address;
}

static void add_integer(int32_t value) { *(int32_t*)add(INTEGER, 0, 0, sizeof value) = value; }

/* A text; one with a capacity is a variable, which holds what the server left in it. */
static struct text* add_text(const char* value, int32_t capacity) {
  const int32_t length = (int32_t)strlen(value), room = capacity > length ? capacity : length;
  struct text* text = add(STRING, capacity > 0, room, sizeof *text + (size_t)room);
  text->length = length;
  memcpy(text->bytes, value, (size_t)length);
  return text;
}

static void begin(const char* function) {
  block->argument_count = 0;
  used = 0;
  add_text(function, 0);
}

/* Has the server take the call, and waits for the result code; a signal alone tells nothing, for it may be left from an
 * earlier call. The load with "acquire" makes sure, on every processor, that what the server stored before the code is
 * seen behind it. The other way round, the signal does that. */
static int32_t place(void) {
  int32_t code;
  block->result_code = NO_RESULT;
  kill(server, SIGUSR2);
  while ((code = atomic_load_explicit(&block->result_code, memory_order_acquire)) == NO_RESULT) {
    if (waitpid(server, NULL, WNOHANG) != 0) fail("the server has ended");
    sigtimedwait(&answers, NULL, &(struct timespec){.tv_sec = 1});
  }
  return code;
}

/* SIGUSR2 is blocked from before the server starts: here, where it would end the host, and by inheritance there. */
static void start(const char* program) {
  const int segment = shmget(IPC_PRIVATE, SEGMENT_SIZE, 0600);
  block = shmat(segment, NULL, 0);
  shmctl(segment, IPC_RMID, NULL); /* it lives on while it is attached */
  if (block == (void*)-1) fail("there is no segment");
  memcpy(block->magic, "ZD.DLL\0", sizeof block->magic);
  block->version = 257;
  block->host_pid = getpid();
  sigemptyset(&answers);
  sigaddset(&answers, SIGUSR2);
  sigprocmask(SIG_BLOCK, &answers, NULL);
  server = fork();
  if (server < 0) fail("there is no process");
  if (server > 0) return;
  char identifier[12];
  snprintf(identifier, sizeof identifier, "%d", segment);
  execl(program, program, identifier, (char*)NULL);
  perror(program);
  _exit(127);
}

int main(int argc, char** argv) {
  if (argc != 2) fail("usage: bare PATH_OF_VORLIX_DLL");
  start(argv[1]);
  begin("fmt_Date");
  add_integer(19991231);
  add_integer(0);
  add_integer(10);
  add_text("%d.%m.%Y", 0);
  const struct text* shown = add_text("", 80);
  const int32_t code = place();
  if (code == 0) printf("%.*s\n", (int)shown->length, shown->bytes);
  kill(server, SIGTERM);
  waitpid(server, NULL, 0);
  return code;
}
