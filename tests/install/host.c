#include <stdio.h>
#include <vorlix.h>

int main(void) {
  vorlix_server* server = NULL;
  vorlix_call* call = NULL;
  int32_t code = 0;
  if (vorlix_start(NULL, &server) || vorlix_call_new(server, "fmt_Date", &call) ||
      vorlix_put(call, "iiitT", 19991231, 0, 10, "%d.%m.%Y", "", 80) || vorlix_call_place(call, &code))
    return puts(vorlix_error_message()), 1;
  printf("%d %s\n", (int)code, vorlix_get_text(call, 4, NULL));
  vorlix_call_free(call);
  vorlix_server_free(server);
}
