#include "host/keys/Conversions.h"

#include <gtest/gtest.h>

#include "host/base/Failure.h"
#include "platform/wire/Hex.h"

using Host::Conversion;
using Kind = Host::Conversion::Kind;

namespace {

std::string Hex(const Wire::Bytes& bytes) {
  return Wire::ToHex(bytes.data(), bytes.size());
}

Wire::Bytes Text(const std::string& text) {
  return {text.begin(), text.end()};
}

TEST(Conversions, NoConversionLeavesTheDataAlone) {
  EXPECT_EQ(Hex(Host::Convert({}, Text("abc"), 256)), "616263");
}

TEST(Conversions, HashIsTheDigestOfTheMessage) {
  EXPECT_EQ(Hex(Host::Convert({{Kind::Hash, "SHA1"}}, Text("abc"), 256)), "a9993e364706816aba3e25717850c26c9cd0d89d");
}

TEST(Conversions, WrappedDigestFillsTheBlockBehindItsDigestInfo) {
  const auto block = Host::Convert({{Kind::Hash, "SHA256"}, {Kind::WrapPkcs1, "SHA256"}}, Text("abc"), 64);
  EXPECT_EQ(Hex(block),
            "0001ffffffffffffffffffff00"
            "3031300d060960864801650304020105000420"
            "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

TEST(Conversions, PaddingTakesEightBytesOfFiller) {
  EXPECT_EQ(Hex(Host::PaddedBlock(Text("abc"), 14)), "0001ffffffffffffffff00616263");
}

TEST(Conversions, DataThatLeavesNoRoomForThePaddingIsRefused) {
  EXPECT_THROW(Host::PaddedBlock(Text("abc"), 13), Host::Failure);
}

TEST(Conversions, WhatTheHostDoesNotComputeIsRefused) {
  EXPECT_THROW(Host::Convert({{Kind::NotModelled, ""}}, Text("abc"), 256), Host::Failure);
}

}  // namespace
