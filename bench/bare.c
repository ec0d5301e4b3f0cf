/* The floor: a fixed reply, nothing else. */
#include <unistd.h>

int main(void) {
  static const char kReply[] = "Content-type: text/plain; charset=\"UTF-8\"\r\n\r\n{\n   \"success\" : true\n}\n";
  return write(1, kReply, sizeof kReply - 1) == (ssize_t)(sizeof kReply - 1) ? 0 : 1;
}
