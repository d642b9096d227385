#include <benchmark/benchmark.h>

#include <string>

#include "postwright/Headers/PWEmailAddress.hpp"
#include "postwright/Headers/PWEmailAddressGroup.hpp"
#include "postwright/Lexical/Scanner.hpp"

using namespace postwright;

namespace {
// An address list of n mailboxes in the forms a To header mixes: bare, named, quoted, encoded, commented,
// with a group every hundred mailboxes unless asked not to.
std::u16string addressList(size_t count, bool withGroups = true) {
    const std::u16string forms[] = {
        u"user@example.com",
        u"Ann Example <ann.example@mail.example.org>",
        u"\"Lee, Bo\" <bo.lee@example.net>",
        u"=?utf-8?Q?J=C3=B6rg_M=C3=BCller?= <joerg@example.de>",
        u"cy@example.com (Cy at work)",
    };
    std::u16string list;
    for (size_t i = 0; i < count; ++i) {
        if (withGroups && i % 100 == 50) list += u"Team " + decimalString(i) + u": ";
        list += forms[i % std::size(forms)];
        list += withGroups && i % 100 == 60 ? u"; " : u", ";
    }
    return list;
}

void runAddressList(benchmark::State& state) {
    const std::u16string text = addressList(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        Scanner scanner = Scanner::emailAddressScannerWithString(text);
        PWEmailAddressGroupList groups;
        benchmark::DoNotOptimize(scanner.scanRFC2822AddressListIntoPWEmailAddressGroups(&groups, 4, nullptr));
        benchmark::DoNotOptimize(groups);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size() * sizeof(char16_t)));
}

// A broken list: every mailbox falls back to an invalid address.
void runBrokenAddressList(benchmark::State& state) {
    std::u16string text;
    for (int64_t i = 0; i < state.range(0); ++i) text += u"Joe <jqp@example.com, a@b.[1, \"x\" @, ";
    for (auto _ : state) {
        Scanner scanner = Scanner::emailAddressScannerWithString(text);
        PWEmailAddressGroupList groups;
        benchmark::DoNotOptimize(scanner.scanRFC2822AddressListIntoPWEmailAddressGroups(&groups, 4, nullptr));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0) * 3);
}

// Encoded words whose decoded text holds times, folded one per line without commas: every colon in them
// makes a group name, so n words read as about 2n groups (a hostile To field of this shape is in the corpus).
void runEncodedWordGroups(benchmark::State& state) {
    std::u16string text = u"\"test\" <test@test.com>,";
    for (int64_t i = 0; i < state.range(0); ++i) text += u"\r\n\t=?utf-8?Q?date=3E2017-08-20T10:08:28.617=3C/pr?=";
    for (auto _ : state) {
        Scanner scanner = Scanner::emailAddressScannerWithString(text);
        PWEmailAddressGroupList groups;
        benchmark::DoNotOptimize(scanner.scanRFC2822AddressListIntoPWEmailAddressGroups(&groups, 4, nullptr));
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size() * sizeof(char16_t)));
}

// The header-value reader knows no groups: a ";" would end it.
void runHeaderValue(benchmark::State& state) {
    const std::u16string text = addressList(static_cast<size_t>(state.range(0)), false);
    for (auto _ : state) benchmark::DoNotOptimize(PWEmailAddress::emailAddressesFromHeaderValue(text));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
}  // namespace

BENCHMARK(runAddressList)->Name("BM_AddressList")->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);
BENCHMARK(runEncodedWordGroups)->Name("BM_EncodedWordGroups")->Arg(2700)->Unit(benchmark::kMillisecond);
BENCHMARK(runBrokenAddressList)->Name("BM_BrokenAddressList")->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);
BENCHMARK(runHeaderValue)
    ->Name("BM_EmailAddressesFromHeaderValue")
    ->Arg(1000)
    ->Arg(10000)
    ->Unit(benchmark::kMillisecond);
