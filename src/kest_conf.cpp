#include "kest_conf.h"

KestConf::KestConf() {
  KestCgiInit("", &context_);
  KestCgiLoadInfo(&context_);
}

KestConf::~KestConf() { KestCgiFree(&context_); }

const char* KestConf::Info(char* key, char* defaultValue) { return KestCgiGetInfo(&context_, key, defaultValue); }

const char* KestConf::Def(char* key, char* defaultValue) { return KestCgiGetDef(&context_, key, defaultValue); }
