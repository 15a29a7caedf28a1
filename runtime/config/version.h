// The version record and the banner text.
#pragma once

struct qsl_version {
  int major;
  int minor;
  int update;
  const char* product_status;
  const char* build;
  const char* processor;
  const char* platform;
};

extern "C" {

// Fills the record. The processor text is that of the processor type, which is decided if need be;
// where that would end the process the text is the general one.
void qsl_get_version(qsl_version* out);
// The version text, at most 511 characters and a zero, into a buffer of 512.
void qsl_get_version_string(char* buffer);
}
