#include <tarvel/http_file_outputer.h>
#include <tarvel/tarvel.h>

#include <cstdio>

int main() {
  Tarvel request(true);
  if (!request.IsAuthorized(nullptr, 1, KEST_CGI_POSITION_ACCOUNT)) return 0;

  // The program knows what there is to fetch: never a path as a client writes it.
  FILE* file = fopen("/volume1/public/welcome.txt", "rb");
  if (file == nullptr) {
    char type[] = "text/plain; charset=\"UTF-8\"";
    request.AddHeader("Status", "404 Not Found");
    request.WriteHeader(type);
    return 0;
  }
  // Lines of one's own come first, each with its CR LF. Output() writes the others and ends the header block.
  printf("Content-Disposition: attachment; filename=\"welcome.txt\"\r\n");
  const int result = HTTPFileOutputer().Output(file, "welcome.txt", nullptr);
  fclose(file);
  return result == 0 ? 0 : 1;
}
