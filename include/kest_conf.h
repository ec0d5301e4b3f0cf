#ifndef TARVEL_KEST_CONF_H
#define TARVEL_KEST_CONF_H

#include "platform/kestcgi.h"
#include "tarvel_export.h"

/// @file
/// The settings of the appliance.

/// Read access to the appliance's system settings and to their factory defaults.
///
///     KestConf conf;
///     char port_key[] = "admin_port";
///     char port_default[] = "5000";
///     const char* port = conf.Info(port_key, port_default);  // "5000" unless the administrator changed it
///
/// The settings are read once, by the constructor: a change that another process makes afterwards is not seen, and each
/// object reads them anew. Keys and values are NUL-terminated bytes, passed through without conversion. Nothing is
/// logged and nothing is written. Which files hold the settings is the platform's affair.
class TARVEL_EXPORT KestConf {
 public:
  /// Opens a platform context without a text root and loads the settings into it. A failure of the platform is not
  /// reported: every later look-up then gives its default.
  KestConf();

  /// Gives the context back; all texts that Info() and Def() returned end with it.
  ~KestConf();

  KestConf(const KestConf&) = delete;
  KestConf& operator=(const KestConf&) = delete;

  /// The current value of a setting.
  ///
  /// @param key           name of the setting, never null
  /// @param defaultValue  what to return when the setting is absent; may be null
  /// @return the value, owned by this object and valid until it is destroyed; `defaultValue` itself when the setting
  ///         is absent
  const char* Info(char* key, char* defaultValue);

  /// The value that a setting had when the appliance left the factory, whatever it is now.
  ///
  /// @param key           name of the setting, never null
  /// @param defaultValue  what to return when there is no factory value; may be null
  /// @return the value, owned by this object and valid until it is destroyed; `defaultValue` itself when there is no
  ///         factory value
  const char* Def(char* key, char* defaultValue);

 private:
  KESTCGI context_;
};

#endif  // TARVEL_KEST_CONF_H
