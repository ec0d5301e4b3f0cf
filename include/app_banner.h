#ifndef TARVEL_APP_BANNER_H
#define TARVEL_APP_BANNER_H

#include <string>

#include "string_bundle.h"
#include "tarvel.h"
#include "tarvel_export.h"

/// @file
/// The banner of a page as HTML fragments.

/// The banner of a page: a welcome, the way back to the desktop, the way out.
///
///     KestAppBanner banner(request);                // after request.IsAuthorized()
///     std::string html = banner.CreateWelcome();    // "Welcome anna"
///     html += banner.CreateDesktopLink();           // "<a href="/index.cgi?desktop=1">Desktop</a>"
///     html += banner.CreateLogoutLink();            // the administrator's has a power menu behind it
///
/// Every operation gives an HTML fragment for the program to put into its page. The words come from the section
/// "uicommon" of the string tables of module 5 (`/usr/kest/kestman/scripts`); an unknown one is empty. Neither they nor
/// the user's name are escaped: HTML in them is HTML in the page. Fragments have fixed greatest lengths, in bytes; what
/// is longer is cut. Nothing is logged and nothing is written. The links to the other applications are
/// Tarvel::GetAppLinkAsString().
class TARVEL_EXPORT KestAppBanner {
 public:
  /// Loads the words in the language of the request.
  ///
  /// @param request  names the user; must outlive this object
  explicit KestAppBanner(Tarvel& request);

  /// The link to the desktop, with the text "desktop".
  ///
  /// @return `<a href="/index.cgi?desktop=1">...</a>`, at most 255 bytes
  std::string CreateDesktopLink();

  /// The link that ends the session, with the text "logout", and for the account "admin" (Tarvel::IsAdmin()) the
  /// opener of the power menu, with the text "poweroff_opt" and a triangle.
  ///
  /// @return `<a href="/tarvel/modules/logout.cgi">...</a>&nbsp;`, at most 511 bytes; for "admin" followed by
  ///         ` | <a id="appbanner-powermenu-trigger" ...>... &#x25BC;</a>&nbsp;`, again at most 511 bytes
  std::string CreateLogoutLink();

  /// The text "welcome", a blank and the name of the logged-in user.
  ///
  /// @return at most 255 bytes; without a login it ends with the blank
  std::string CreateWelcome();

 private:
  Tarvel& request_;
  StringBundle texts_;
};

#endif  // TARVEL_APP_BANNER_H
