#ifndef TARVEL_FILE_SHARE_H
#define TARVEL_FILE_SHARE_H

#include <cstdint>
#include <string>
#include <vector>

#include "platform/kestdir.h"
#include "platform/klib.h"
#include "tarvel_export.h"

/// @file
/// What the file manager asks before it touches files: identity, paths, privileges, folders.

/// Why the last operation of the file manager failed. Any other value may be set and is read back.
enum WEBFMERR : int {
  WEBFMERR_NONE = 0,           ///< no failure, or an operation has begun
  WEBFMERR_BAD_PARAMETER = 1,  ///< an argument is missing
  WEBFMERR_UNRESOLVED = 2,     ///< a path or home folder cannot be resolved; also an argument of a privilege question
  WEBFMERR_DENIED = 3,         ///< a folder may not be read
  WEBFMERR_MISSING = 6,        ///< there is no such share or folder
  WEBFMERR_QUERY_FAILED = 7,   ///< the domain cannot be asked, or a folder cannot be opened
  WEBFMERR_REFUSED = 9,        ///< the domain refused to tell
};

/// What an account may do in a share.
enum WEBFM_SHARE_PRIVILEGE : int {
  WEBFM_SHARE_NO_ACCESS = 0,   ///< nothing
  WEBFM_SHARE_READ_ONLY = 1,   ///< read
  WEBFM_SHARE_READ_WRITE = 2,  ///< read and write
};

/// One folder in a folder.
struct _tag_SUBDIR_ENTRY_INFO_ {
  std::string name;   ///< the folder's name, in the bytes of the file system
  std::string path;   ///< path of the folder that holds it, "/" and the name
  int64_t size = 0;   ///< size in bytes, as the file system tells it
  uint32_t mode = 0;  ///< type and permissions, as in `st_mode`
  int32_t mtime = 0;  ///< last modification, in seconds since 1970-01-01 UTC; later than 2038-01-19 it is negative
  uint32_t uid = 0;   ///< id of the owner
  uint32_t gid = 0;   ///< id of the group
};

/// The file manager's view of shares: what its programs ask before they touch a file for a user.
///
///     TarvelFileShare files;
///     std::string full, share, volume, folder;
///     WEBFM_SHARE_PRIVILEGE privilege = WEBFM_SHARE_NO_ACCESS;
///     int restrictions = 0;
///     if (files.WfmFullPathGet("/photo/2024", full, share, volume, folder, user) == 1 &&  // "/volume1/photo/2024"
///         files.WfmLibGetPrivilege("/photo/2024", user, "", &privilege, &restrictions) == 0 &&
///         privilege != WEBFM_SHARE_NO_ACCESS &&
///         files.WfmLibUGIDSet(session, user) == 0 &&  // from here on the kernel judges, too
///         files.WfmCheckPath(full.c_str()) == 0) {
///       std::vector<_tag_SUBDIR_ENTRY_INFO_> folders;
///       files.WfmLibEnumSubDir(full, folders);
///     }
///
/// **Paths of the file manager** begin with "/"; their first component is a share, or "home" for the user's own home
/// folder, and what follows is a path in there. They come from clients: WfmFullPathGet() neither looks for "..", nor
/// follows links, nor knows who may go there. WfmCheckPath(), WfmLibGetPrivilege() and WfmLibUGIDSet() do.
///
/// **The last error** is one value for the whole process, shared by all objects. Operations that set it clear it when
/// they begin, unless said otherwise.
///
/// **Failures** are told by the results and by the last error, nothing here throws (memory exhaustion apart). What is
/// logged goes to syslog at LOG_ERR, begins with the source name `file_share` and the line number, and is named at each
/// operation; operations that name no message log nothing.
///
/// An object has no state of its own. The process has one thread: identity, working directory and last error are its.
class TARVEL_EXPORT TarvelFileShare {
 public:
  /// Does nothing.
  TarvelFileShare();

  ~TarvelFileShare();

  /// @name Last error
  /// @{

  /// Sets the last error.
  void WfmLibSetErr(WEBFMERR error);

  /// The last error, 0 at first.
  WEBFMERR WfmLibGetErr();

  /// @}
  /// @name Identity
  /// @{

  /// Makes the process run as the account of a session: first its supplementary groups, then its primary group, then
  /// its user id, after which the groups cannot be changed any more.
  ///
  /// The last error is never cleared; it becomes 1 when an argument is null.
  ///
  /// @param sid   id of the session
  /// @param user  name of its account
  /// @return 0. -1 when an argument is null (logged: "bad parameter") or the platform refuses (logged: "failed to get
  ///         GID for user=%s, sid=%s", "failed to set GID ...", "failed to set UID ..."): the process then may have
  ///         changed its groups and must not go on. Supplementary groups that cannot be set are no failure (logged:
  ///         "failed to initgroup for user=%s, sid=%s"): the process then keeps those from before
  int WfmLibUGIDSet(const char* sid, const char* user);

  /// @}
  /// @name Paths
  /// @{

  /// Whether a path and each folder above it is a regular file or a folder, and none a symbolic link, "." or "..". It
  /// is looked at from its end up to the root, one component after another: who can rename folders in between can
  /// change them behind the look.
  ///
  /// Of a path that ends in "/" the last component is looked at twice, the first time through a link.
  ///
  /// @param path  absolute path on the file system
  /// @return 0 when it is safe; -1 with one of these errors for KLIBErrGet(); the last error is not touched.
  ///
  /// | KLIBErrGet() | when                                                                                          |
  /// |--------------|-----------------------------------------------------------------------------------------------|
  /// | 0xD00        | the path is null or does not begin with "/"                                                   |
  /// | 0x600        | something of it does not exist                                                                |
  /// | 0x300        | something of it may not be looked at                                                          |
  /// | 0x8100       | memory is short (logged: ":WfmCheckPath strdup fail, error:%s"); a look fails otherwise       |
  /// |              | (logged: "failed to lstat %s, reason=%s"); something else, a link for one (logged: "Path is   |
  /// |              | not regular file and directory:%s"); "." or ".." (logged: "Path contains '.' or '..', path =  |
  /// |              | %s" with what stands before it)                                                               |
  int WfmCheckPath(const char* path);

  /// The real path of a folder, without links, "." and "..". The process goes there and back for it, so it must be
  /// allowed to enter both; where it is not allowed back it stays, and the result is TRUE all the same.
  ///
  /// @param path    of the folder
  /// @param buffer  receives the path; undefined when the result is FALSE
  /// @param size    bytes of `buffer`
  /// @return TRUE; FALSE when an argument is null or `size` not positive, the folder cannot be entered, the path of
  ///         the working directory has more than 4094 bytes or cannot be told, or the result does not fit
  BOOL WfmLibRealFullPathGet(const char* path, char* buffer, int size);

  /// The first or the last component of a path. Empty components do not count: "/photo/a/" has "photo" and "a". Of a
  /// path longer than 4094 bytes only these count, and a component may be cut there: programs refuse such paths.
  ///
  /// @param path   with a "/", wherever it stands
  /// @param first  TRUE: the first one; FALSE: the last one
  /// @return the component, to be released with free(). null when the path is null (logged: "bad parameter!"), has no
  ///         "/" (logged: "bad path name=%s") or nothing else (logged: "error path"), or memory is short (logged when
  ///         it is for the list: "PslKLIBSzListAlloc() failed!")
  char* WfmLibGetTokOfPath(const char* path, BOOL first);

  /// Whether a path names a place where homes are: "home", "/home", and what begins with "/home/". With a user, what
  /// begins with "/homes" is judged by itself: it is when it begins with "/homes/" and the user's name in any case of
  /// letters. The name need not end there, so "/homes/alice2" counts for "alice".
  ///
  /// @param dir   a path of the file manager, or its first component
  /// @param user  account name; may be null
  bool IsDirUserHome(const std::string& dir, const char* user);

  /// The real path of an account's home folder, without links.
  ///
  /// @param realPath  receives the path, at most 4094 bytes; untouched when the result is 0
  /// @param user      account name
  /// @return 1; 0 when there is no such account (logged: "Failed to get user (%s)") or its home folder cannot be
  ///         entered (logged: "Failed to get real path (%s)" with the folder)
  int WfmUserHomeFullPathGet(std::string& realPath, std::string user);

  /// Turns a path of the file manager into one on the file system. What stands behind its first component is carried
  /// over as it is.
  ///
  /// | path            | fullPath                  | shareName | volumePath | sharePath        |
  /// |-----------------|---------------------------|-----------|------------|------------------|
  /// | /photo/2024/a   | /volume1/photo/2024/a     | photo     | /volume1   | /volume1/photo   |
  /// | /home/docs      | /volume1/homes/alice/docs | home      | /volume1   | /volume1/homes/alice |
  ///
  /// @param path        path of the file manager, at most 4094 bytes: see WfmLibGetTokOfPath()
  /// @param fullPath    receives the path on the file system
  /// @param shareName   receives the first component as it was given
  /// @param volumePath  receives what stands before the second "/" of `sharePath`; all of it when there is none
  /// @param sharePath   receives the share's folder, or the real path of the home folder
  /// @param user        account name; its home is found for "home", in lower case
  /// @return 1. 0 when an argument is null or empty (last error 1), the path has no component (logged:
  ///         "WfmLibGetTokOfPath fail"; 2), the home folder cannot be resolved (logged: "WfmUserHomeFullPathGet fail";
  ///         2) or there is no such share (logged: "KESTShareGet fail"; 6). Some outputs may be set then
  int WfmFullPathGet(const char* path, std::string& fullPath, std::string& shareName, std::string& volumePath,
                     std::string& sharePath, std::string user);

  /// The permissions of a file mode as three decimal digits for owner, group and others: 0100644 is 644. The set-id
  /// bits, the sticky bit and the type do not count.
  unsigned GetPrivilege(unsigned mode);

  /// @}
  /// @name Privileges
  /// @{

  /// What an account may do in the share that a path lies in, and the share's transfer restrictions for it. "home" is
  /// a share like any other here.
  ///
  /// Of the share's lists the no-access list goes first, then the read-write list, then the read-only list; an account
  /// in none has no access. The domain answers for its own accounts. "admin", in any case of letters, has no
  /// restrictions, but no more privilege than others.
  ///
  /// @param path          path of the file manager; see WfmLibGetTokOfPath()
  /// @param user          account name
  /// @param domainArg     of the platform, carried through; not null, for local accounts neither
  /// @param privilege     receives the privilege; not null
  /// @param restrictions  receives a sum: 1 the folder is not listed, 2 not modified, 4 nothing is downloaded; may be
  ///                      null
  /// @return 0. -1 when an argument is null (logged: "bad parameter!"; last error 2), the path has no component
  ///         (logged: "WfmLibGetTokOfPath %s fail"; 2), there is no such share (logged: "KESTShareGet %s fail"; 6), the
  ///         domain cannot be asked (7) or refuses to tell (9): the outputs are then as before
  int WfmLibGetPrivilege(const char* path, const char* user, const char* domainArg, WEBFM_SHARE_PRIVILEGE* privilege,
                         int* restrictions);

  /// The names of the shares that an account may open, "home" among them when accounts have homes: the setting
  /// "userHomeEnable" in "/etc/kestinfo.conf" is "yes" in any case of letters, and the uid is 0, 1024 or above 1025. A
  /// home folder that is not there is made, with mode 0755 less the umask, and given to the account, so the process
  /// must still be allowed to. A name that the list has no memory for is missing from it.
  ///
  /// Left out are shares with value 1 in their encryption state, those whose lists do not admit the account, those
  /// whose folder is not there, and "homes" for all but "admin", in lower case.
  ///
  /// The last error is cleared by a success alone, and becomes 2 otherwise.
  ///
  /// @param user      account name
  /// @param sort      TRUE: sorted by name without regard to case; FALSE: in the platform's order, "home" last
  /// @param readOnly  TRUE: shares that the account may only read, too
  /// @param account   the account's record
  /// @return the list, to be released with KLIBSzListFree(). null when an argument is null (logged: "bad parameter"),
  ///         memory is short (logged: "malloc fail"), the shares cannot be listed (logged: "KESTShareDBOpenFile
  ///         Error[%X]" with KLIBErrGet()), the setting cannot be read (logged: "Failed to get EnableHome info.") or
  ///         the home folder cannot be made (logged: "mkdir user home folder failed. errno:%d, message:%m"). That it
  ///         cannot be given away is only logged ("errno:%s")
  PSZLIST WfmLibValidShareGen(char* user, BOOL sort, BOOL readOnly, KESTUSER* account);

  /// @}
  /// @name Folders
  /// @{

  /// The folders in a folder. Links to folders are none, "@eaDir" in any case of letters is left out, and so are
  /// entries whose type the file system does not tell.
  ///
  /// @param dir      path of the folder
  /// @param entries  receives a record for each folder, behind those already there; then all are sorted by name without
  ///                 regard to case, those that differ in nothing else in any order. Untouched when the result is 0
  /// @return 1, also when there are none. 0 when `dir` is empty (logged: "Bad parameter"; the last error stays), or it
  ///         cannot be opened: last error 6 when it does not exist or is no folder, 3 when it may not be read, 7
  ///         otherwise
  int WfmLibEnumSubDir(std::string dir, std::vector<_tag_SUBDIR_ENTRY_INFO_>& entries);

  /// @}
};

#endif  // TARVEL_FILE_SHARE_H
