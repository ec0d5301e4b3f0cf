// Lazy modules: what only some requests need is mapped when the first of them asks.
//
// Every shared object mapped at start costs each short-lived program its relocations, so the costly libraries
// (database, mount table) stay out of libkest.so. Each is wrapped in a module `libkest_NAME.so` beside it, which offers
// exactly one C function returning a table of function pointers:
//
//   // host/accounts/accounts_module.h, included by the module and by its callers
//   struct KestAccountsModule {
//     int (*verify)(const char *user, const char *password);
//   };
//   KEST_MODULE_TABLE(KestAccountsModule, KestAccountsModuleTable);
//
//   // host/accounts/accounts_module.cpp, part of libkest_accounts.so
//   const KestAccountsModule *KestAccountsModuleTable(void) {
//     static constexpr KestAccountsModule kTable = {Verify};
//     return &kTable;
//   }
//
//   // any caller in libkest.so
//   const KestAccountsModule *accounts = KEST_MODULE(KestAccountsModule, "accounts", KestAccountsModuleTable);
//   if (accounts == nullptr) return -4;  // no module: the call fails as it documents; the reason is in the log
//
// With KEST_STATIC (the static flavour) the table function is linked in and called directly; nothing is opened.
// A module is never closed: the process is about to end anyway, and tables may be kept in static storage.
#ifndef KEST_HOST_MODULE_MODULE_H
#define KEST_HOST_MODULE_MODULE_H

/// Declares the one function that a module offers.
#define KEST_MODULE_TABLE(Table, function) extern "C" __attribute__((visibility("default"))) const Table* function(void)

/// The table of module NAME, or nullptr when it cannot be had (logged once per call). Cheap after the first success.
#ifdef KEST_STATIC
#define KEST_MODULE(Table, name, function) (function())
#else
#define KEST_MODULE(Table, name, function)                                                           \
  ([]() -> const Table* {                                                                            \
    static const Table* table = nullptr;                                                             \
    if (table == nullptr) table = static_cast<const Table*>(kest::LoadModuleTable(name, #function)); \
    return table;                                                                                    \
  }())
#endif

namespace kest {

/// Opens `libkest_NAME.so` from the directory that holds libkest.so and calls its table
/// function. @return what that function returned; nullptr when the file or the function is missing (logged)
const void* LoadModuleTable(const char* name, const char* function);

}  // namespace kest

#endif
