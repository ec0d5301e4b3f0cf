// The functions have C linkage, so a wrong prototype would link all the same: each is pinned here once more.

#include <type_traits>

#include "platform/kestcgi.h"
#include "platform/kestdir.h"
#include "platform/kestnet.h"
#include "platform/kestsched.h"
#include "platform/keststorage.h"
#include "platform/klib.h"

namespace {

#define IS(name, ...) static_assert(std::is_same_v<decltype(name), __VA_ARGS__>, #name)

// Request.
using FromContext = const char*(KESTCGI*, const char*, const char*);
IS(KestCgiInit, int(const char*, KESTCGI*));
IS(KestCgiFree, void(KESTCGI*));
IS(KestCgiLoadInCookies, int(KESTCGI*));
IS(KestCgiGetParamLine, char*());
IS(KestCgiParseCGIParam, int(KESTCGI*, char*));
IS(KestCgiGetCGIParam, FromContext);
IS(KestCgiGetInCookies, FromContext);
IS(KestCgiIsUploadRequest, int());
IS(KestCgiLoadUploadData, int(KESTCGI*, const char*, int));

// Settings and texts.
IS(KestCgiLoadInfo, int(KESTCGI*));
IS(KestCgiGetInfo, FromContext);
IS(KestCgiGetDef, FromContext);
IS(KestCgiLoadText, int(KESTCGI*, ...));
IS(KestCgiGetText, FromContext);
IS(KestCgiGetEncodeText, FromContext);
IS(KestCgiGetLang, const char*(KESTCGI*));

// Reply.
IS(KestCgiSetCookies, int(KESTCGI*, const char*, const char*, const char*, const char*, const char*, const char*));
IS(KestCgiSetHTTPHeader, int(KESTCGI*, const char*, const char*));
IS(KestCgiPrintHTTPHeader, int(KESTCGI*));
IS(KestCgiRedirect, int(KESTCGI*, const char*));
IS(KestCgiURLEncode, int(const char*, char*, int));

// Sessions.
IS(KestCgiGetSessPath, int(KESTCGI*, char*, int));
IS(KestCgiIsAuthorized, int(KESTCGI*, char*, int, CgiAuthRequest*, _tag_cgi_position));
IS(KestCgiLogin, int(KESTCGI*, char*, int, _tag_login_params*));
IS(KestCgiLoginNoAuth, int(KESTCGI*, char*, char*, _tag_login_params*));
IS(KestCgiLogout, int(KESTCGI*, const char*));
IS(KestCgiDomValidShareWrite, int(const char*, const char*));
IS(KestCgiDomGetPrivilege, int(const char*, const char*, const char*, int*));
IS(KestCgiGIDGet, int(const char*, const char*));
IS(KestCgiGidSet, int(const char*, const char*));
IS(KestCgiUidSet, int(const char*, const char*));

// Users.
IS(KESTUserGet, int(const char*, KESTUSER**));
IS(KESTUserGetByUID, int(int, KESTUSER**));
IS(KESTUserFree, void(KESTUSER*));
IS(KESTUserSet, int(const char**, KESTUSER**, int));
IS(KESTUserIsExpired, int(int));
IS(KESTUserExpiredDateGet, int(const KESTUSER*, char*, int));
IS(KESTUserExpiredDateFill, int(KESTUSER*, const char*));
IS(KESTUserDBOpen, KESTUSERDB*());
IS(KESTUserDBGetByCursor, int(KESTUSERDB*, KESTUSER**, AUTH_TYPE, int));
IS(KESTUserDBClose, int(KESTUSERDB*));
IS(KESTUserDBDomainRebuild, int(int));
IS(KESTUserEnumByPrefix, int(PSZLIST*, AUTH_TYPE, const char*, int));
IS(KESTUserTotalNum, int(AUTH_TYPE));
IS(KESTUserPrivilegeGet, int(const char*));
IS(IsDomainUG, int(const char*));

// Groups.
IS(KESTGroupGet, int(const char*, KESTGROUP**));
IS(KESTGroupFree, void(KESTGROUP*));
IS(KESTGroupSet, int(const char*, KESTGROUP*));
IS(KESTGroupDescGet, int(const char*, char**, int*));
IS(KESTGroupDescSet, int(const char*, const char*));
IS(KESTGroupDBOpen, KESTGROUPDB*());
IS(KESTGroupDBGetByCursor, int(KESTGROUPDB*, KESTGROUP**, AUTH_TYPE, int));
IS(KESTGroupDBClose, int(KESTGROUPDB*));
IS(KESTGroupEnumByPrefix, int(PSZLIST*, AUTH_TYPE, const char*, int));

// Shares.
IS(KESTShareGet, int(const char*, KESTSHARE**));
IS(KESTShareFree, void(KESTSHARE*));
IS(KESTShareSet, int(const char*, KESTSHARE*, KESTCOPYARGS*));
IS(KESTShareEnum, int(PSZLIST*, KEST_SHARE_ENUM));
IS(KESTShareEnumByPrefix, int(PSZLIST*, KEST_SHARE_ENUM, const char*, int));
IS(KESTShareDBOpen, KESTSHAREDB*());
IS(KESTShareDBCursorGet, int(KESTSHAREDB*, KESTSHARE**));
IS(KESTShareDBClose, int(KESTSHAREDB*));
IS(KESTShareEncryptionAction, int(int, _tag_KEST_SHARE_ENC_*));
IS(ShareDefaultGet, int(SHAREDEFAULTREQ*, KESTSHARE**));
IS(ShareNameCheck, int(const char*));
IS(BlShareIIsSATASection, int(const char*));
IS(BlShareIIsUsbSection, int(const char*));
IS(BlSDKUserIsInList, int(const char*, const char*));
IS(UserCheckRights, int(PSZLIST*, PSZLIST*, PSZLIST*));

// Storage.
IS(KESTMountVolInfoEnum, KESTMOUNTVOL*(int));
IS(KESTMountVolAllEnum, KESTMOUNTVOL*(int, int));
IS(KESTMountVolInfoFree, void(KESTMOUNTVOL*));
IS(KESTMountVolInfoGet, int(const char*, KESTMOUNTVOL*));
IS(VolumePathParse, int(const char*, _tag_vol_id_*));
IS(FSIsMatchSkipFS, int(const char*, int));
IS(KESTServiceInfoGet, int(_tag_SERVICE_ID_, SERVICEINFO*));
IS(KESTServiceNewVolumeDecide, int(SERVICEINFO*, char*, int));
IS(KESTSupportRAID, int());
IS(SupportEBox, int());
IS(RAIDSystemGet, int(_tag_raid_for_system_**));
IS(RAIDSystemFree, void(_tag_raid_for_system_*));
IS(KESTSpaceDiskStatusGet, int(const SPACEDISKREQ*, SPACEDISKREPLY*));
IS(KESTUSBVolInit, int(char*, int));
IS(KESTSATAVolInit, int(char*, int, int));
IS(KESTDiskUSBDevGetVolInfo, int(char*, EXTVOLINFO*));
IS(KESTSATAGetVolInfo, int(char*, EXTVOLINFO*));
IS(KESTQuotaGet, int(const char*, const char*, _tag_KEST_QUOTA_*));
IS(KESTQuotaSet, int(const char*, const char*, _tag_KEST_QUOTA_*));
IS(KESTNFSRuleSetAll, int(const char*, int));
IS(ErrServicesHup, void());

// Scheduler, event log, networks.
IS(KESTScheduleGet, int(const char*, _tag_KEST_SCHEDULE*));
IS(KESTScheduleSet, int(_tag_KEST_SCHEDULE*));
IS(KESTScheduleRemove, int(const char*));
IS(KESTLogSet1, int(int, int, int, const char*, const char*, const char*, const char*));
IS(WINIQuery1, int(char*, int, int*, int*));
IS(KESTWinADSJoined, int());
IS(KESTWinTestJoin, int(int));
IS(KESTMailSendEventToUser, int(const char*, PSZHASH, const char*));
IS(KESTZoneEnum, int(char*, int, int*));
IS(KESTAppleZoneGet, int(const char*, KESTAPPLEZONE**));
IS(KESTAppleZoneFree, void(KESTAPPLEZONE*));

// Utility library.
IS(PslKLIBSzListAlloc, PSZLIST(int));
IS(KLIBSzListFree, void(PSZLIST));
IS(SzKLIBSzListGet, char*(PSZLIST, int));
IS(KLIBSzListPush, int(PSZLIST*, const char*));
IS(KLIBSzListSortItems, int(PSZLIST, int));
IS(KLIBStrTok, int(const char*, const char*, PSZLIST*));
IS(KLIBStrTrimSpace, int(char*, char*));
IS(KLIBUnicodeUTF8StrCaseCmp, int(const char*, const char*));
IS(KLIBUnicodeUTF8StrCountChar, int(const char*));
IS(KLIBErrGet, int());
IS(KLIBErrSet, void(int));
IS(KLIBFileGetKeyValue, int(const char*, const char*, char*, int, int));
IS(KLIBFileSetKeyValue, int(const char*, const char*, const char*, const char*));
IS(PshKLIBSzHashAlloc, PSZHASH(int));
IS(KLIBSzHashSetValue, int(PSZHASH, const char*, const char*));
IS(KLIBSzHashFree, void(PSZHASH));
IS(KLIBSmbMd4Hash, int(const char*, unsigned char*, int));
IS(SzKLIBStrCaseLower, char*(char*));
IS(BlKLIBIsIpMask, int(const char*));
IS(BlKLIBIsShareName, int(const char*));
IS(BlKLIBProcAlive, int(unsigned));

}  // namespace
