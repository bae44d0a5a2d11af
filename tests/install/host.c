/* The same program in C. The library finds the server that is installed with it. */
#include <stdio.h>
#include <vorlix.h>

int main(void) {
  vorlix_server *server = NULL;
  vorlix_call *call = NULL;
  int32_t code = 1;
  vorlix_start(NULL, &server);
  vorlix_call_new(server, "fmt_Date", &call);
  vorlix_put(call, "iiitT", 10227, 1, 10, "%d.%m.%Y", "", 80);
  if (vorlix_call_place(call, &code) != VORLIX_OK) return puts(vorlix_error_message()), 1;
  puts(vorlix_get_text(call, 4, NULL));
  vorlix_call_free(call);
  vorlix_server_free(server);
  return code;
}
