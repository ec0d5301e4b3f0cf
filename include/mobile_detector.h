#ifndef TARVEL_MOBILE_DETECTOR_H
#define TARVEL_MOBILE_DETECTOR_H

#include <regex.h>

#include "tarvel.h"
#include "tarvel_export.h"

/// @file
/// Telling phones and tablets from desktops.

/// Whether a request comes from a phone or tablet, and whether its user wants the desktop's pages anyway.
///
///     Tarvel request(true);
///     const MobileDetector browser(request);
///     const char* page = browser.IsMobile() ? "mobile.html" : "desktop.html";
///
/// The browser is known by the environment's HTTP_USER_AGENT, and by HTTP_UA_OS and HTTP_X_WAP_PROFILE, which only
/// mobile browsers send. The user's choice is the parameter "forceDesktop" (1 desktop, 0 mobile), which sticks as a
/// cookie of that name; without either an iPad gets the desktop and every other mobile browser the mobile pages.
///
/// Everything is decided by the constructor, so make the object before the headers are written: it may queue the
/// cookie. Nothing is logged.
class TARVEL_EXPORT MobileDetector {
 public:
  /// Reads the request's parameters if nobody has yet (Tarvel::LoadIn()), looks at the browser and applies the user's
  /// choice.
  ///
  /// @param request  must outlive this object
  explicit MobileDetector(Tarvel& request);

  ~MobileDetector();

  MobileDetector(const MobileDetector&) = delete;
  MobileDetector& operator=(const MobileDetector&) = delete;

  /// Sets the flags from the browser's headers; the constructor has done so. A flag that is set stays set.
  ///
  /// A Macintosh with PowerPC is a desktop whatever else is said. Otherwise a browser is mobile when its agent names an
  /// iPad, iPhone, iPod or Android or matches a list of further names, without regard to case and also inside longer
  /// words, or when HTTP_UA_OS or HTTP_X_WAP_PROFILE is there, even empty. Without HTTP_USER_AGENT nothing is set. Lack
  /// of memory is not reported: what could not be looked for counts as not found.
  void DetectMobileDevice();

  /// Whether the user wants the desktop's pages; the constructor has asked.
  ///
  /// A parameter "forceDesktop" that is a decimal number (blanks before it and a sign pass) and differs from the cookie
  /// is a new choice: its text is queued as the cookie "forceDesktop" for the path "/", at every call; whether that
  /// succeeds is not looked at. Any other parameter leaves the choice to the cookie, which is read as far as it is a
  /// number.
  ///
  /// @return true when the choice is not 0; without any, true for an iPad
  bool IsForceDesktop();

  /// @name What was found
  /// After the constructor: false for all but IsMobileDetected() and IsIPad() when the user wants the desktop.
  /// @{

  /// The mobile pages are to be shown.
  bool IsMobile() const { return is_mobile_; }
  /// An iPad, iPhone or iPod.
  bool IsIOS() const { return is_ios_; }
  /// An Android device.
  bool IsAndroid() const { return is_android_; }
  /// A mobile browser whose agent names "MSIE" or "IEMobile".
  bool IsIEMobile() const { return is_ie_mobile_; }
  /// The browser is mobile, whatever its user wants.
  bool IsMobileDetected() const { return is_mobile_detected_; }
  /// An iPad, whatever its user wants.
  bool IsIPad() const { return is_ipad_; }

  /// @}

 private:
  Tarvel& request_;
  regex_t ppc_mac_;
  regex_t mobile_browser_;
  bool is_mobile_ = false;
  bool is_ios_ = false;
  bool is_android_ = false;
  bool is_ie_mobile_ = false;
  bool is_mobile_detected_ = false;
  bool is_ipad_ = false;
};

#endif  // TARVEL_MOBILE_DETECTOR_H
