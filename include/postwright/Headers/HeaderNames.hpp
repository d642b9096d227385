// The canonical header-field names every writer uses, and the ranks that order fields on output.
#pragma once

#include <cstdint>
#include <string_view>

#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

inline constexpr char16_t PWMessageHeaderFromKey[] = u"From";
inline constexpr char16_t PWMessageHeaderSenderKey[] = u"Sender";
inline constexpr char16_t PWMessageHeaderToKey[] = u"To";
inline constexpr char16_t PWMessageHeaderCcKey[] = u"Cc";
inline constexpr char16_t PWMessageHeaderBccKey[] = u"Bcc";
inline constexpr char16_t PWMessageHeaderReplyToKey[] = u"Reply-To";
inline constexpr char16_t PWMessageHeaderSubjectKey[] = u"Subject";
inline constexpr char16_t PWMessageHeaderDateKey[] = u"Date";
inline constexpr char16_t PWMessageHeaderMessageIdKey[] = u"Message-Id";
inline constexpr char16_t PWMessageHeaderInReplyToKey[] = u"In-Reply-To";
inline constexpr char16_t PWMessageHeaderReferencesKey[] = u"References";
inline constexpr char16_t PWMessageHeaderReceivedKey[] = u"Received";
inline constexpr char16_t PWMessageHeaderDeliveredToKey[] = u"Delivered-To";
inline constexpr char16_t PWMessageHeaderResentToKey[] = u"Resent-To";
inline constexpr char16_t PWMessageHeaderXMailerKey[] = u"X-Mailer";
inline constexpr char16_t PWMessageHeaderMIMEVersionKey[] = u"MIME-Version";
inline constexpr char16_t PWMessageHeaderXKeyfolioKey[] = u"X-Keyfolio";
inline constexpr char16_t PWMessageHeaderXAppleContentLengthKey[] = u"X-Apple-Content-Length";
inline constexpr char16_t PWMessageHeaderXUnsent[] = u"X-Unsent";
inline constexpr char16_t PWMessageHeaderOutgoingPrefix[] = u"X-Orwin-Composer-";
inline constexpr char16_t PWMessageHeaderComposerIdKey[] = u"X-Orwin-Composer-Id";
inline constexpr char16_t PWMessageHeaderSendingAccountKey[] = u"X-Orwin-Composer-Sending-Account-Id";
inline constexpr char16_t PWMessageHeaderSendAsPlainTextKey[] = u"X-Orwin-Composer-Send-As-Plain-Text";
inline constexpr char16_t PWMessageHeaderMutablePersistentIDKey[] = u"X-Orwin-Local-Mutable-Message-Id";
inline constexpr char16_t PWMessageHeaderContentIdOverrideKey[] = u"X-Fennelgate-Id";

// A sort hint of all ones asks for the hint derived from the field name.
inline constexpr uint64_t kDerivedSortHint = UINT64_MAX;

// The output rank of a field name: its place in the address/threading list (from 0), the resent/trace
// list (from 20), the product-extension list (from 40) or the MIME list (from 60); otherwise 47 for an
// "x-" name, 67 for a "content-" name, and 100 for anything else.
uint64_t sortHintForHeaderKey(std::u16string_view name);

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
