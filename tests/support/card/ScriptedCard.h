#pragma once

#include <functional>
#include <vector>

#include "tests/support/card/Card.h"

namespace TestCard {

/// What a call writes besides its result.
using Fill = std::function<void(Call&)>;

/// One expected call: its name, what it answers, what it fills in.
struct Row {
  const char* call;
  CK_RV rv = CKR_OK;
  Fill fill = nullptr;
};

/// Answers exactly the given calls, in their order. A wrong or an extra call fails the test at once, a call that was
/// not made fails it when the card goes.
class ScriptedCard : public Card {
 public:
  explicit ScriptedCard(std::vector<Row> rows) : m_rows(std::move(rows)) {}
  ~ScriptedCard() override;

 protected:
  CK_RV Answer(Call& call) override;

 private:
  std::vector<Row> m_rows;
  size_t m_next = 0;
};

/// The number of slots.
Fill SlotCount(CK_ULONG count);
/// The list of slots, with its count.
Fill Slots(std::vector<CK_SLOT_ID> slots);
/// A slot's description, padded with blanks as PKCS#11 pads.
Fill Description(std::string text);
/// One batch of a search.
Fill Handles(std::vector<CK_OBJECT_HANDLE> handles);
/// The length of the one attribute that is asked for, or of a signature or a plaintext.
Fill Length(CK_ULONG length);
/// The bytes of the attribute, signature or plaintext, and their length.
Fill Bytes(std::vector<CK_BYTE> bytes);
/// The handle that a call makes: a session or an object.
Fill Handle(CK_ULONG handle);
/// The state of a session.
Fill State(CK_STATE state);

/// An attribute of a template: its type and its value's bytes.
using TemplateRow = std::pair<CK_ATTRIBUTE_TYPE, std::vector<CK_BYTE>>;
/// Keeps the call's template in `rows`, then fills what `then` fills.
Fill KeepTemplate(std::vector<TemplateRow>& rows, Fill then = nullptr);

/// The calls of a search that finds these objects in one batch; its template goes to `rows` unless that is null.
std::vector<Row> Search(std::vector<CK_OBJECT_HANDLE> found, std::vector<TemplateRow>* rows = nullptr);

}  // namespace TestCard
