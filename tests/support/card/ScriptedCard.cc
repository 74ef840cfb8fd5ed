#include "tests/support/card/ScriptedCard.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace TestCard {
namespace {

/// Where the length of the answer goes: into the attribute, or through the length pointer.
CK_ULONG& LengthOf(Call& call) {
  return call.attributes != nullptr ? call.attributes->ulValueLen : *call.outputLength;
}

void* BufferOf(Call& call) {
  return call.attributes != nullptr ? call.attributes->pValue : call.output;
}

}  // namespace

ScriptedCard::~ScriptedCard() {
  for (; m_next < m_rows.size(); ++m_next) ADD_FAILURE() << "call not made: " << m_rows[m_next].call;
}

CK_RV ScriptedCard::Answer(Call& call) {
  if (m_next == m_rows.size()) {
    ADD_FAILURE() << "call after the last row: " << Describe(call);
    return CKR_GENERAL_ERROR;
  }
  const Row& row = m_rows[m_next++];
  if (std::strcmp(row.call, call.name) != 0) {
    ADD_FAILURE() << "expected " << row.call << ", got " << Describe(call);
    return CKR_GENERAL_ERROR;
  }
  if (row.fill) row.fill(call);
  return row.rv;
}

Fill SlotCount(CK_ULONG count) {
  return [=](Call& call) { *call.outputLength = count; };
}

Fill Slots(std::vector<CK_SLOT_ID> slots) {
  return [slots](Call& call) {
    *call.outputLength = slots.size();
    std::copy(slots.begin(), slots.end(), static_cast<CK_SLOT_ID*>(call.output));
  };
}

Fill Description(std::string text) {
  return [text](Call& call) {
    auto* info = static_cast<CK_SLOT_INFO*>(call.output);
    std::memset(info->slotDescription, ' ', sizeof info->slotDescription);
    std::memcpy(info->slotDescription, text.data(), std::min(text.size(), sizeof info->slotDescription));
  };
}

Fill Handles(std::vector<CK_OBJECT_HANDLE> handles) {
  return [handles](Call& call) {
    *call.outputLength = handles.size();
    std::copy(handles.begin(), handles.end(), static_cast<CK_OBJECT_HANDLE*>(call.output));
  };
}

Fill Length(CK_ULONG length) {
  return [=](Call& call) { LengthOf(call) = length; };
}

Fill Bytes(std::vector<CK_BYTE> bytes) {
  return [bytes](Call& call) {
    LengthOf(call) = bytes.size();
    if (BufferOf(call) != nullptr) std::memcpy(BufferOf(call), bytes.data(), bytes.size());
  };
}

Fill Handle(CK_ULONG handle) {
  return [=](Call& call) { *static_cast<CK_ULONG*>(call.output) = handle; };
}

Fill KeepTemplate(std::vector<TemplateRow>& rows, Fill then) {
  return [&rows, then](Call& call) {
    rows.clear();
    for (CK_ULONG i = 0; i < call.attributeCount; ++i) {
      const CK_ATTRIBUTE& attribute = call.attributes[i];
      const auto* bytes = static_cast<const CK_BYTE*>(attribute.pValue);
      rows.push_back({attribute.type, {bytes, bytes + attribute.ulValueLen}});
    }
    if (then) then(call);
  };
}

std::vector<Row> Search(std::vector<CK_OBJECT_HANDLE> found, std::vector<TemplateRow>* rows) {
  std::vector<Row> calls = {{"C_FindObjectsInit", CKR_OK, rows != nullptr ? KeepTemplate(*rows) : nullptr}};
  if (!found.empty()) calls.push_back({"C_FindObjects", CKR_OK, Handles(std::move(found))});
  calls.push_back({"C_FindObjects"});
  calls.push_back({"C_FindObjectsFinal"});
  return calls;
}

Fill State(CK_STATE state) {
  return [=](Call& call) { static_cast<CK_SESSION_INFO*>(call.output)->state = state; };
}

}  // namespace TestCard
