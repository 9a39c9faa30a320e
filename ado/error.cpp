#include "ado/error.h"

#include <utility>

namespace tarnwick::ado {
namespace {

struct Entry {
  AdoErrorNumber number;
  TextView description;
};

constexpr Entry kEntries[] = {
    // ADO reference, "ErrorValueEnum" and "ADO error codes".
    {AdoErrorNumber::kInvalidArgument,
     u"Arguments are of the wrong type, are out of acceptable range, or are in conflict with one "
     u"another."},
    {AdoErrorNumber::kCannotOpenFile, u"File could not be opened."},
    {AdoErrorNumber::kCannotReadFile, u"File could not be read."},
    {AdoErrorNumber::kCannotWriteFile, u"Write to file failed."},
    {AdoErrorNumber::kNoCurrentRecord,
     u"Either BOF or EOF is True, or the current record has been deleted. Requested operation "
     u"requires a current record."},
    {AdoErrorNumber::kIllegalOperation, u"Operation is not allowed in this context."},
    {AdoErrorNumber::kInTransaction,
     u"Connection object cannot be explicitly closed while in a transaction."},
    {AdoErrorNumber::kFeatureNotAvailable,
     u"Object or provider is not able to perform requested operation."},
    {AdoErrorNumber::kItemNotFound,
     u"Item cannot be found in the collection that corresponds to the requested name or ordinal."},
    {AdoErrorNumber::kDataConversion,
     u"Application uses a value of the wrong type for the current operation."},
    {AdoErrorNumber::kObjectClosed, u"Operation is not allowed when the object is closed."},
    {AdoErrorNumber::kObjectOpen, u"Operation is not allowed when the object is open."},
    {AdoErrorNumber::kProviderNotFound,
     u"Provider cannot be found. It may not be properly installed."},
    {AdoErrorNumber::kInvalidConnection,
     u"The connection cannot be used to perform this operation. It is either closed or invalid in "
     u"this context."},
    // OLE DB reference, "OLE DB error codes". kUnspecified and kCommandError have no entry: their
    // text is the provider's.
    {AdoErrorNumber::kPermissionDenied, u"Permission denied."},
    {AdoErrorNumber::kIntegrityViolation,
     u"A specified value violated the integrity constraints for a column or table."},
    {AdoErrorNumber::kTimeout, u"Timeout expired"},
    {AdoErrorNumber::kRowNotLocated,
     u"Row cannot be located for updating. Some values may have been changed since it was last "
     u"read."},
    {AdoErrorNumber::kAuthenticationFailed, u"Authentication failed."},
    {AdoErrorNumber::kOneTransactionOnly, u"Only one transaction can be active on this session."},
    // Transaction manager reference, XACT_E_NOTRANSACTION.
    {AdoErrorNumber::kNoTransaction, u"No transaction is active."},
};

}  // namespace

TextView description_of(AdoErrorNumber number) {
  for (const Entry& entry : kEntries) {
    if (entry.number == number) return entry.description;
  }
  return {};
}

FailureKind kind_of(AdoErrorNumber number) {
  switch (number) {
    case AdoErrorNumber::kTimeout:
      return FailureKind::kTimeout;
    case AdoErrorNumber::kRowNotLocated:
      return FailureKind::kChanged;
    case AdoErrorNumber::kCommandError:
    case AdoErrorNumber::kIntegrityViolation:
    case AdoErrorNumber::kPermissionDenied:
    case AdoErrorNumber::kAuthenticationFailed:
      return FailureKind::kRefused;
    default:
      return FailureKind::kOther;
  }
}

AdoError::AdoError(AdoErrorNumber number) : AdoError(number, Text(description_of(number))) {}

AdoError::AdoError(AdoErrorNumber number, Text description, std::int32_t native,
                   std::string sqlstate, std::optional<FailureKind> kind)
    : Error(static_cast<std::int32_t>(number), std::move(description)),
      native_(native),
      sqlstate_(std::move(sqlstate)),
      kind_(kind.value_or(kind_of(number))) {}

ConnectionLost::ConnectionLost(AdoErrorNumber number)
    : ConnectionLost(number, Text(description_of(number))) {}

ConnectionLost::ConnectionLost(AdoErrorNumber number, Text description, std::int32_t native,
                               std::string sqlstate)
    : AdoError(number, std::move(description), native, std::move(sqlstate),
               FailureKind::kConnectionLost) {}

AdoError lock_timeout() {
  return AdoError(AdoErrorNumber::kUnspecified, Text(kLockTimeoutText), kNativeLockTimeout, {},
                  FailureKind::kLockTimeout);
}

}  // namespace tarnwick::ado
