#include "host/mail/event_mail.h"

#include <sys/stat.h>

#include "folder.h"
#include "host/klib/error_code.h"
#include "platform/klib.h"

// What the interface function takes from the rest of the platform is not asked for here.
namespace kest {
const char* RequestLanguage() { return "en"; }
const char* ProcessSetting(const char*, const char* def) { return def; }

namespace {

class EventMailTest : public testing::Test {
 protected:
  EventMailTest() {
    for (const char* folder : {"mail", "mail/en", "mail/de"}) mkdir(folder_.File(folder).c_str(), 0755);
    folder_.Put("mail/en/note.txt", "Subject: For %NAME%\n\nHello %NAME%\n");
    InstallSendmail(0);
  }

  // Notes its arguments and the message, and ends with `status`.
  void InstallSendmail(int status) {
    folder_.Put("sendmail", "#!/bin/sh\necho \"$@\" >'" + folder_.File("called") + "'\ncat >'" +
                                folder_.File("message") + "'\nexit " + std::to_string(status) + "\n");
    chmod(folder_.File("sendmail").c_str(), 0755);
  }

  int Send(const std::string& event, const std::string& recipient, const std::string& name = "Anna",
           const std::string& language = "en") {
    const std::string templates = folder_.File("mail"), sendmail = folder_.File("sendmail");
    KLIBErrSet(0);
    return SendEventMail({templates.c_str(), sendmail.c_str(), sender_}, language, event, {{"%NAME%", name}},
                         recipient);
  }
  std::string Message() { return Content(folder_.File("message")); }
  void ExpectFailure(int code, int result) {
    EXPECT_GT(0, result);
    EXPECT_EQ(code, KLIBErrGet());
  }

  const Folder folder_;
  std::string sender_;
};

TEST_F(EventMailTest, AMessageIsHandedOverWhole) {
  ASSERT_EQ(0, Send("note", "anna@example.org"));
  EXPECT_EQ("-t -oi\n", Content(folder_.File("called")));
  EXPECT_EQ(
      "To: anna@example.org\n"
      "Subject: For Anna\n"
      "Auto-Submitted: auto-generated\n"
      "MIME-Version: 1.0\n"
      "Content-Type: text/plain; charset=UTF-8\n"
      "Content-Transfer-Encoding: base64\n"
      "\n"
      "SGVsbG8gQW5uYQ0K\n",
      Message());
}

TEST_F(EventMailTest, TheSenderIsTheSettings) {
  sender_ = "nas@example.org";
  ASSERT_EQ(0, Send("note", "anna@example.org"));
  EXPECT_EQ(0u, Message().find("From: nas@example.org\nTo: anna@example.org\n"));
}

TEST_F(EventMailTest, ALanguageWithoutTheTemplateFallsBackToEnglish) {
  ASSERT_EQ(0, Send("note", "a@b", "Anna", "de"));
  EXPECT_NE(std::string::npos, Message().find("Subject: For Anna\n"));
  folder_.Put("mail/de/note.txt", "Subject: F\xC3\xBCr %NAME%\n\nHallo\n");
  ASSERT_EQ(0, Send("note", "a@b", "Anna", "de"));
  EXPECT_NE(std::string::npos, Message().find("Subject: =?UTF-8?B?RsO8ciBBbm5h?=\n"));
}

TEST_F(EventMailTest, AValueCannotAddAHeaderOrEndTheHead) {
  ASSERT_EQ(0, Send("note", "a@b", "x\r\nBcc: eve@example.org\n\nbody"));
  const std::string message = Message();
  const std::string head = message.substr(0, message.find("\n\n"));
  EXPECT_EQ(std::string::npos, head.find("\nBcc")) << message;
  EXPECT_NE(std::string::npos, head.find("Content-Transfer-Encoding: base64")) << message;
}

TEST_F(EventMailTest, ARecipientThatIsNoAddressIsRefused) {
  for (const char* recipient : {"", "anna", "a@b\nBcc: eve@example.org", "a@b, c@d", "-oQ/tmp@b c"}) {
    ExpectFailure(kErrorBadParameter, Send("note", recipient));
  }
  EXPECT_EQ("", Message()) << "nothing was handed over";
}

TEST_F(EventMailTest, AnEventThatIsNoNameIsRefused) {
  for (const std::string& event : {std::string(), std::string("../en/note"), std::string("a/b"), std::string("."),
                                   std::string("a b"), std::string("a.txt"), std::string(65, 'a')}) {
    ExpectFailure(kErrorBadParameter, Send(event, "a@b"));
  }
}

TEST_F(EventMailTest, WithoutATemplateNothingIsSent) {
  ExpectFailure(kErrorNoSuchObject, Send("other", "a@b"));
  EXPECT_EQ("", Message());
}

TEST_F(EventMailTest, ADamagedTemplateIsAFailure) {
  folder_.Put("mail/en/note.txt", "Hello %NAME%\n");
  ExpectFailure(kErrorSystem, Send("note", "a@b"));
  folder_.Put("mail/en/note.txt", std::string(1024 * 1024 + 1, 'x'));
  ExpectFailure(kErrorSystem, Send("note", "a@b"));
  EXPECT_EQ("", Message());
}

TEST_F(EventMailTest, WithoutAMailSystemItIsAFailure) {
  remove(folder_.File("sendmail").c_str());
  ExpectFailure(kErrorNoSuchObject, Send("note", "a@b"));
}

TEST_F(EventMailTest, AMailSystemThatRefusesIsAFailure) {
  InstallSendmail(75);
  ExpectFailure(kErrorSystem, Send("note", "a@b"));
}

TEST_F(EventMailTest, AMailSystemThatReadsNothingStopsNobody) {
  folder_.Put("mail/en/note.txt", "Subject: long\n\n" + std::string(500 * 1024, 'x') + "\n");
  folder_.Put("sendmail", "#!/bin/sh\nexit 0\n");
  EXPECT_EQ(0, Send("note", "a@b"));
}

TEST_F(EventMailTest, TheHostsNameIsThereByItself) {
  folder_.Put("mail/en/note.txt", "Subject: %HOST_NAME%\n\nx\n");
  ASSERT_EQ(0, Send("note", "a@b"));
  EXPECT_EQ(std::string::npos, Message().find("%HOST_NAME%"));
}

}  // namespace
}  // namespace kest
