#import "token/CardOutput.h"

#include "log/QELLog.h"

CardOutput::CardOutput(const char *call, CK_ULONG announced)
    : m_data(announced > kLargestAnswer ? nil : [NSMutableData dataWithLength:announced]) {
  if (m_data == nil) QELLog::Error() << call << "() announces no usable length";
}

CK_BYTE *CardOutput::Bytes() {
  return [m_data length] == 0 ? &m_none : static_cast<CK_BYTE *>([m_data mutableBytes]);
}
