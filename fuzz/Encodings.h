#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <string>

/// Returns an encoding name: empty, one of a list of different kinds, or whatever the input says.
inline std::string AnyEncoding(FuzzedDataProvider& input) {
  static const char* const kNames[] = {"",           "UTF-8",      "UTF-16LE",    "UTF-16BE",        "UTF-16",
                                       "UTF-32LE",   "UTF-32BE",   "UTF-32",      "UTF-7",           "ASCII",
                                       "ISO-8859-1", "CP1252",     "EUC-JP",      "SHIFT_JIS",       "ISO-2022-JP",
                                       "GB18030",    "BIG5-HKSCS", "ISO-2022-KR", "ASCII//TRANSLIT", "UTF-8//IGNORE"};
  return input.ConsumeIntegralInRange(0, 7) == 0 ? input.ConsumeRandomLengthString(24) : input.PickValueInArray(kNames);
}
