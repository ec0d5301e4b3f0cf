// The limits of requests are settings.
#include <gtest/gtest.h>

#include <string>

#include "cgi_request.h"
#include "scratch_directory.h"
#include "system_file.h"
#include "upload_body.h"

namespace {

const char kLarge[] = "413 Content Too Large";

class CgiLimit : public testing::Test {
 protected:
  // The refusal of a request, kNoRefusal for none.
  static std::string Outcome(const CgiRequest& request) {
    return request.Run([] {
      CgiContext context;
      char* const line = KestCgiGetParamLine();
      if (line != nullptr) KestCgiParseCGIParam(context.get(), line);
      free(line);
      KestCgiPrintHTTPHeader(context.get());
    });
  }
  static std::string UploadOutcome(const UploadBody& body) { return Upload(UploadRequest(body.End()), {}); }

  SystemFile settings_{"/etc/kestinfo.conf"};
};

TEST_F(CgiLimit, OfTheBody) {
  settings_.Write("cgi_body_max=\"10\"\n");
  EXPECT_EQ(kNoRefusal, Outcome(CgiRequest::Post("a=12345678")));
  EXPECT_EQ(RefusalBlock(kLarge, "body_too_large"), Outcome(CgiRequest::Post("a=123456789")));
}

TEST_F(CgiLimit, OfParametersAndNames) {
  settings_.Write("cgi_pairs_max=\"2\"\ncgi_name_max=\"3\"\n");
  EXPECT_EQ(kNoRefusal, Outcome(CgiRequest::Get("aaa=1&b=2")));
  EXPECT_EQ(RefusalBlock(kLarge, "too_many_parameters"), Outcome(CgiRequest::Get("a=1&b=2&c=3")));
  EXPECT_EQ(RefusalBlock(kLarge, "name_too_long"), Outcome(CgiRequest::Get("aaaa=1")));
}

TEST_F(CgiLimit, OfUploads) {
  const UploadBody body = UploadBody().File("f", "x", "content");
  const std::string size = std::to_string(body.End().size());
  settings_.Write("cgi_upload_max=\"" + size + "\"\n");
  EXPECT_EQ(std::string("1") + kNoRefusal, UploadOutcome(body));
  settings_.Write("cgi_upload_max=\"" + std::to_string(body.End().size() - 1) + "\"\n");
  EXPECT_EQ("-2" + RefusalBlock(kLarge, "body_too_large"), UploadOutcome(body));
  settings_.Write("cgi_upload_parts_max=\"1\"\n");
  EXPECT_EQ("-2" + RefusalBlock(kLarge, "upload_too_many_parts"), UploadOutcome(UploadBody(body).Field("a", "1")));
  settings_.Write("cgi_part_header_max=\"20\"\n");
  EXPECT_EQ("-2" + RefusalBlock("400 Bad Request", "upload_header"), UploadOutcome(body));
  settings_.Write("cgi_part_header_lines_max=\"1\"\n");
  EXPECT_EQ("-2" + RefusalBlock("400 Bad Request", "upload_header"), UploadOutcome(body));
  settings_.Write("cgi_body_max=\"3\"\n");
  EXPECT_EQ(std::string("0") + kNoRefusal, UploadOutcome(UploadBody().Field("a", "123")));
  EXPECT_EQ("-2" + RefusalBlock(kLarge, "upload_field_too_large"), UploadOutcome(UploadBody().Field("a", "1234")));
}

TEST_F(CgiLimit, ThatIsNoNumberAboveZeroCountsAsAbsent) {
  for (const char* value : {"", "0", "-1", "x", "1x", "+1", "99999999999999999999"}) {
    settings_.Write("cgi_body_max=\"" + std::string(value) + "\"\n");
    EXPECT_EQ(kNoRefusal, Outcome(CgiRequest::Post("a=123456789"))) << value;
    EXPECT_EQ(RefusalBlock(kLarge, "body_too_large"), Outcome(CgiRequest::Post(std::string(1024 * 1024 + 1, 'x'))))
        << value;
  }
}

TEST_F(CgiLimit, BeyondWhatCanBeHeldIsNoLimitToRelyOn) {
  settings_.Write("cgi_body_max=\"18446744073709551615\"\n");
  for (const char* length : {"18446744073709551615", "18446744073709551614", "4294967295", "1073741825"}) {
    EXPECT_EQ(RefusalBlock(kLarge, "body_too_large"),
              Outcome(CgiRequest::Post("a=1&b=2&c=3").Set("CONTENT_LENGTH", length)))
        << length;
  }
  settings_.Write("cgi_part_header_max=\"4294967296\"\ncgi_part_header_lines_max=\"4294967296\"\n");
  EXPECT_EQ(std::string("1") + kNoRefusal, UploadOutcome(UploadBody().File("f", "x", "content")));
}

// The appliance of this test has a disk of one mebibyte at /full.
TEST(CgiUploadStorage, AFullDiskLeavesNothing) {
  const std::string refused = "-3" + RefusalBlock("507 Insufficient Storage", "upload_storage");
  const std::string body =
      UploadBody().Field("a", "1").File("f", "x", "small").File("g", "y", std::string(2000000, 'x')).End();
  EXPECT_EQ(refused, UploadRequest(body).Run([] {
    CgiContext context;
    printf("%d", KestCgiLoadUploadData(context.get(), "/full", 0));
    for (const char* name : {"a", "f", "f.path", "g", "g.path"}) {
      if (KestCgiGetCGIParam(context.get(), name, nullptr) != nullptr) printf("(kept %s)", name);
    }
    KestCgiPrintHTTPHeader(context.get());
  }));
  EXPECT_TRUE(std::filesystem::is_empty("/full"));
  std::ofstream("/full/again") << "there is room again";
  EXPECT_EQ(19u, std::filesystem::file_size("/full/again"));
  std::filesystem::remove("/full/again");
}

}  // namespace
