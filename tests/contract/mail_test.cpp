// The mail of an event on this platform: what reaches the appliance's mail system, read back by another program.
#include <fstream>

#include "platform/kestnet.h"
#include "session_fixture.h"
#include "started_program.h"
#include "system_file.h"

namespace {

constexpr char kMailbox[] = "/var/spool/mailbox";
constexpr int kBadParameter = 0xD00, kNoSuchObject = 0x600;

// The whole message with its subject and its body decoded.
constexpr char kDecode[] =
    "use Encode; use MIME::Base64; local $/; my ($head, $body) = split /\\n\\n/, <>, 2;"
    "print Encode::encode('UTF-8', Encode::decode('MIME-Header', $head)), \"\\n\\n\", decode_base64($body);";

class Mail : public testing::Test {
 protected:
  void SetUp() override { std::filesystem::remove_all(kMailbox); }
  void TearDown() override { std::filesystem::remove_all(kMailbox); }

  static std::vector<std::string> Messages() {
    std::vector<std::string> paths;
    const std::filesystem::path folder = std::string(kMailbox) + "/new";
    if (!std::filesystem::exists(folder)) return paths;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) paths.push_back(entry.path());
    return paths;
  }

  // As one request of a browser in this language. 0, else the error code.
  static int Send(const char* language, const char* event, const char* user, const char* password, const char* to) {
    const pid_t pid = fork();
    if (pid == 0) {
      setenv("HTTP_ACCEPT_LANGUAGE", language, 1);
      const PSZHASH values = user == nullptr ? nullptr : PshKLIBSzHashAlloc(512);
      KLIBSzHashSetValue(values, "%USER_NAME%", user);
      KLIBSzHashSetValue(values, "%PASSWD%", password);
      const int result = KESTMailSendEventToUser(event, values, to);
      KLIBSzHashFree(values);
      _exit(result == 0 ? 0 : KLIBErrGet() >> 8);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) << 8 : -1;
  }

  static std::string Decoded() {
    const auto messages = Messages();
    if (messages.size() != 1) return std::to_string(messages.size()) + " messages";
    std::vector<std::string> command{"/usr/bin/perl", "-e", kDecode, messages[0]};
    return StartedHere(command).output;
  }
};

TEST_F(Mail, OfAnAccountsDataReachesItsUser) {
  ASSERT_EQ(0, Send("en", "account_data", "anna", "s3cret", "anna@example.org"));
  const std::string message = Decoded();
  EXPECT_EQ(0u, message.find("X-Called-With: -t -oi\n")) << message;
  EXPECT_NE(std::string::npos, message.find("\nTo: anna@example.org\n")) << message;
  EXPECT_NE(std::string::npos, message.find("\nSubject: Your account on kest\n")) << message;
  EXPECT_NE(std::string::npos, message.find("\r\n  User name:  anna\r\n  Password:   s3cret\r\n")) << message;
}

TEST_F(Mail, IsInTheLanguageOfTheRequest) {
  ASSERT_EQ(0, Send("de-AT,en;q=0.5", "account_data", "J\xC3\xBCrgen", "gr\xC3\xBC\xC3\x9F", "j@example.org"));
  const std::string message = Decoded();
  EXPECT_NE(std::string::npos, message.find("\nSubject: Ihr Konto auf kest\n")) << message;
  EXPECT_NE(std::string::npos, message.find("Benutzername:  J\xC3\xBCrgen\r\n")) << message;
  EXPECT_NE(std::string::npos, message.find("Kennwort:      gr\xC3\xBC\xC3\x9F\r\n")) << message;
}

TEST_F(Mail, OfAnUnknownEventOrToNobodyIsNotSent) {
  EXPECT_EQ(kNoSuchObject, Send("en", "no_such_event", "a", "b", "anna@example.org"));
  EXPECT_EQ(kBadParameter, Send("en", "../en/account_data", "a", "b", "anna@example.org"));
  EXPECT_EQ(kBadParameter, Send("en", "account_data", "a", "b", "anna@example.org\nBcc: eve@example.org"));
  EXPECT_EQ(kBadParameter, Send("en", "account_data", "a", "b", ""));
  EXPECT_GT(0, KESTMailSendEventToUser(nullptr, nullptr, "anna@example.org"));
  EXPECT_GT(0, KESTMailSendEventToUser("account_data", nullptr, nullptr));
  EXPECT_TRUE(Messages().empty());
}

TEST_F(Mail, WithoutValuesKeepsItsPlaceholders) {
  EXPECT_EQ(0, Send("en", "account_data", nullptr, nullptr, "anna@example.org"));
  EXPECT_NE(std::string::npos, Decoded().find("Hello %USER_NAME%,"));
}

TEST_F(Mail, ComesFromTheSenderInTheSettings) {
  const SystemFile settings("/etc/kestinfo.conf");
  settings.Write("mail_sender=\"nas@example.org\"\n");
  ASSERT_EQ(0, Send("en", "account_data", "a", "b", "anna@example.org"));
  EXPECT_NE(std::string::npos, Decoded().find("\nFrom: nas@example.org\n"));
  std::filesystem::remove_all(kMailbox);
  settings.Write("mail_sender=\"nas@example.org>, <eve@example.org\"\n");
  ASSERT_EQ(0, Send("en", "account_data", "a", "b", "anna@example.org"));
  EXPECT_EQ(std::string::npos, Decoded().find("From:")) << "no address counts as none";
}

}  // namespace
