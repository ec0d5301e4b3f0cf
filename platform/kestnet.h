/// @file kestnet.h
/// Windows networking, mail, time zones and AppleTalk zones of the platform.
///
/// All texts are NUL-terminated UTF-8. What a machine does not have answers with the failure that is documented here.
#ifndef PLATFORM_KESTNET_H_
#define PLATFORM_KESTNET_H_

#include <stdint.h>

#include "klib.h"

#ifdef __cplusplus
extern "C" {
#endif

/// One AppleTalk zone; a node of a list ended by a NULL `next`.
typedef struct KESTAPPLEZONE {
  uint32_t flags;              ///< bit 0: the current zone
  char name[36];               ///< without a NUL when the name fills it
  struct KESTAPPLEZONE* next;  ///< NULL ends the list
} KESTAPPLEZONE;

/// Reads the Windows networking settings.
/// @param name   receives the domain's or workgroup's name
/// @param size   bytes of `name`; callers give 64
/// @param flagA  receives non-zero when the settings name a domain, else 0
/// @param flagB  receives non-zero when the domain is one that can be joined and tested, else 0; may be NULL
/// @return 0 when read; negative on failure: outputs are then as before
int WINIQuery1(char* name, int size, int* flagA, int* flagB);

/// @return the kind of domain membership that the settings say; only meant for KESTWinTestJoin()
int KESTWinADSJoined(void);

/// Asks the domain whether the machine is a member.
/// @param kind  result of KESTWinADSJoined()
/// @return 0 when joined; anything else when not
int KESTWinTestJoin(int kind);

/// Sends the mail of an event.
/// @param event      name of the event, which selects the mail's text
/// @param values     placeholders of the text ("%NAME%") and what stands in for them; may be NULL for none
/// @param recipient  mail address
/// @return 0 when handed to the mail system; negative on failure; callers ignore it
int KESTMailSendEventToUser(const char* event, PSZHASH values, const char* recipient);

/// Lists the names of the time zones. The buffer begins with that many pointers (char *) to the names, which follow in
/// the same buffer.
/// @param buf     the buffer, aligned for pointers; NULL only asks for the size
/// @param size    bytes of `buf`
/// @param needed  receives the bytes that are needed
/// @return number of names in the buffer; 0 or negative when `buf` is NULL or too small, or on failure
int KESTZoneEnum(char* buf, int size, int* needed);

/// Lists the AppleTalk zones.
/// @param iface  network interface; NULL is the default one
/// @param list   starts as NULL; receives the list, to be released with KESTAppleZoneFree() whatever the result
/// @return 0 when listed; anything else is a failure, also where there is no AppleTalk
int KESTAppleZoneGet(const char* iface, KESTAPPLEZONE** list);

/// Releases a whole list of zones.
/// @param list  its head; NULL is accepted
void KESTAppleZoneFree(KESTAPPLEZONE* list);

#ifdef __cplusplus
}
#endif

#endif  // PLATFORM_KESTNET_H_
