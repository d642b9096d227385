// The address grammar over arbitrary text: address lists, mailbox lists and single mailboxes from every
// position, the header-value reader and raw addresses. Beyond not crashing: failures restore the location,
// no written address can carry a line break into a header, and equal addresses hash equally.
#include <cstdint>
#include <memory>

#include "FuzzSupport.hpp"
#include "postwright/Base/Host.hpp"
#include "postwright/Headers/PWEmailAddress.hpp"
#include "postwright/Headers/PWEmailAddressGroup.hpp"
#include "postwright/Lexical/Scanner.hpp"

using namespace postwright;

namespace {
void checkAddress(const std::shared_ptr<PWEmailAddress>& address) {
    if (!address) return;
    if (OptString form = address->rfc2822Representation()) {
        if (form->find_first_of(u"\r\n") != std::u16string::npos) __builtin_trap();
    }
    if (address->valid() && (!address->userAtDomain() || address->userAtDomain()->empty())) __builtin_trap();
    std::shared_ptr<PWEmailAddress> copy = address->copy();
    if (!copy->isEqual(address.get()) || copy->hash() != address->hash()) __builtin_trap();
    (void)address->digest();
    (void)address->dictionaryRepresentation();
}

void checkGroups(const PWEmailAddressGroupList& groups) {
    for (const auto& group : groups) {
        for (const auto& address : group->addresses()) checkAddress(address);
        if (OptString form = group->rfc2822Representation()) {
            if (form->find_first_of(u"\r\n") != std::u16string::npos) __builtin_trap();
        }
    }
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    fuzz::silenceLibraryLog();
    std::u16string text = fuzz::textFromFuzzBytes(bytes, size);

    for (unsigned options : {0u, 4u, 7u}) {
        Scanner scanner = Scanner::emailAddressScannerWithString(text);
        PWEmailAddressGroupList groups;
        ErrorRef error;
        bool ok = scanner.scanRFC2822AddressListIntoPWEmailAddressGroups(&groups, options, &error);
        if (!ok && (scanner.scanLocation() != 0 || !groups.empty())) __builtin_trap();
        if (ok && error) __builtin_trap();
        checkGroups(groups);
    }

    for (size_t start = 0; start <= text.size() && start < 64; ++start) {
        Scanner scanner = Scanner::emailAddressScannerWithString(text);
        scanner.setScanLocation(start);
        std::shared_ptr<PWEmailAddress> address;
        ErrorRef error;
        if (!scanner.scanPWEmailAddress(&address, 6, &error) && (scanner.scanLocation() != start || address)) {
            __builtin_trap();
        }
        checkAddress(address);
        Scanner list = Scanner::emailAddressScannerWithString(text);
        list.setScanLocation(start);
        PWEmailAddressList addresses;
        list.scanRFC2822MailboxList(&addresses, 4, &error);
        if (list.scanLocation() > text.size()) __builtin_trap();
    }

    if (auto addresses = PWEmailAddress::emailAddressesFromHeaderValue(text)) {
        for (const auto& address : *addresses) checkAddress(address);
    }
    checkAddress(PWEmailAddress::initWithRawAddress(text));
    checkAddress(PWEmailAddress::initWithCommentedAddress(text));
    return 0;
}
