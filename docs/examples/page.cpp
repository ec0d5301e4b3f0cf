#include <tarvel/tarvel.h>
#include <tarvel/template.h>
#include <tarvel/webutils.h>

#include <cstdio>

int main() {
  Tarvel request(true);
  WebUtils::Template page("<!DOCTYPE html>\n<title>{title}</title>\n<p>Hello {name}!</p>\n");
  Json::Value values;
  values["title"] = "Greeting";
  // Values are inserted as they are: what comes from a client is escaped here.
  values["name"] = WebUtils::EncodeHtml(request.In("name", "nobody"), false);

  char type[] = "text/html; charset=\"UTF-8\"";
  request.WriteHeader(type);
  fputs(page.ApplyValues(values).c_str(), stdout);
}
