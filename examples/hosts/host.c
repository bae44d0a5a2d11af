/* A whole host in C: opens a dictionary, walks the fields of a dialog and prints what each of them shows. From the root
 * of the project:  gcc -o host examples/hosts/host.c $(pkg-config --cflags --libs vorlix) && ./host */
#include <stdio.h>
#include <stdlib.h>
#include <vorlix.h>

/* Places a call with code 0, or ends the program with why that is not to be had. */
static vorlix_call* place(vorlix_call* call) {
  int32_t code = 0;
  if (vorlix_call_place(call, &code) == VORLIX_OK && code == 0) return call;
  fprintf(stderr, "code %d: %s %s\n", (int)code, vorlix_call_fault(call), vorlix_error_message());
  exit(1);
}

static vorlix_call* prepare(vorlix_server* server, const char* function, const char* types, ...) {
  vorlix_call* call = NULL;
  va_list arguments;
  va_start(arguments, types);
  if (vorlix_call_new(server, function, &call) == VORLIX_OK) vorlix_vput(call, types, arguments);
  va_end(arguments);
  return call;
}

int main(void) {
  vorlix_server* server;
  if (vorlix_start(NULL, &server) != VORLIX_OK) return puts(vorlix_error_message()), 1;
  vorlix_call_free(place(prepare(server, "dict_OpenModel", "ttI", "MUSTER", "examples/dict/muster.dic", 0)));
  vorlix_call_free(place(prepare(server, "dict_Open", "ttiI", "KUNDEN", "examples/dict/kunden.dic", 1, 0)));

  /* A customer as a program has it; the filter turns its values into what their fields show. */
  const char* customer = "Xname~0~10~Meier & CoNumsatz~0~6~1234.5Nkunde_seit~0~5~10227$";
  vorlix_call_free(place(prepare(server, "dict_XbufFilterInit", "ttI", "D01KUNDE", customer, 0)));
  vorlix_call_free(place(prepare(server, "dict_FilterInit", "t", "format")));
  vorlix_call* next = prepare(server, "dict_FilterNext", "TTI", "", 4000, "", 4000, 0);
  for (int32_t end = 0; vorlix_get_int(place(next), 2, &end) == VORLIX_OK && end == 0;) {
    vorlix_xbuf* field;
    size_t length;
    const char* description = vorlix_get_text(next, 0, &length);
    if (vorlix_xbuf_read(description, length, &field) != VORLIX_OK) return puts(vorlix_error_message()), 1;
    printf("%-10s [%s]\n", vorlix_xbuf_find(field, "dict_fld", 0)->value, vorlix_get_text(next, 1, NULL));
    vorlix_xbuf_free(field);
  }
  vorlix_call_free(next);
  vorlix_server_free(server);
  return 0;
}
