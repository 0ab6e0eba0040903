// SPDX-License-Identifier: MIT
// The session that faults are injected into, when there is none.
#include "checks.h"
#include "session.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace injection {
namespace {

using texts = std::vector<std::string>;

const texts expected_steps = {
    "init: 0 16801505",
    "list: 0 <virtual:1,Vendor,Model,sheetfed scanner><virtual:2,V,M,scanner>",
    "open: 0",
    "describe 0: 0 option-count (, Number of options) type 1 unit 0 size 4 cap 4 active",
    "describe 1: 0 paper (Paper size, ?58) type 3 unit 0 size 44 cap 21 A4 A5 A6 active",
    "describe 2: 0 page (Sides, Sides to scan) type 3 unit 0 size 20 cap 5 单面 双面 active",
    "describe 3: 0 resolution (Resolution, Dots) type 1 unit 4 size 4 cap 85 [100,600,50] active",
    "describe 4: 0 gamma (Gamma, ) type 2 unit 0 size 4 cap 21 65536 117964 163840 active",
    "describe 5: 0 is-custom-area (Area, ) type 0 unit 0 size 4 cap 21 active",
    "describe 6: 0 tl-x (Left, ) type 2 unit 3 size 4 cap 21 [0,13139968,32768] inactive",
    "describe 7: 0 note (Note, 1200) type 3 unit 0 size 300 cap 20 active",
    "describe 8: 0 heading (Heading, ) type 5 unit 0 size 0 cap 21 active",
    "describe 9: 0 restore (Restore, ) type 4 unit 0 size 0 cap 21 active",
    "describe 10: 0 page-width (Page Width, set page width) type 1 unit 3 size 4 cap 21 active",
    "describe 11: 0 page-height (Page Height, set page height) type 1 unit 3 size 4 cap 21 active",
    "describe 12: 0 duplex (Duplex, set page to be simplex or duplex) type 0 unit 0 size 4 cap 21 active",
    "read count: 0 10",
    "read 1: 0 A4",
    "read 2: 0 双面",
    "read 7: 0 as it was",
    "read 3: 0 300",
    "read 4: 0 117964",
    "read 5: 0 0",
    "read 6: 0 671744",
    "read 8: 1 99",
    "default of 1: 0 A4",
    "default of 3: 0 200",
    "default of 4: 0 98304",
    "default of 5: 0 1",
    "default of 9: 1 99",
    "fixed id of 1: 0 34831",
    "fixed id of 7: 1 99",
    "serial number: 0 SN-1",
    "driver log: 0 a log",
    "write area: 0 2 1",
    "write paper: 0 2 A5",
    "write resolution: 0 0",
    "write sides: 1 0",
    "write gamma: 0 1 65536",
    "press restore: 0 4",
    "write page-width: 0 0 148",
    "write duplex: 0 2 1",
    "write paper again: 0 6 A4",
    "write paper once more: 0 2 A5",
    "write item: 0 0 00:11",
    "control: 0 4",
    "change language: 0",
    "change language again: 0",
    "describe again 0: 0 option-count (, Number of options) type 1 unit 0 size 4 cap 4 active",
    "describe again 1: 0 paper (Paper size, ?58) type 3 unit 0 size 44 cap 21 A4 A5 A6 active",
    "describe again 2: 0 page (Sides, Sides to scan) type 3 unit 0 size 20 cap 5 单面 双面 active",
    "describe again 3: 0 resolution (Resolution, Dots) type 1 unit 4 size 4 cap 85 [100,600,50] active",
    "describe again 4: 0 gamma (Gamma, ) type 2 unit 0 size 4 cap 21 65536 117964 163840 active",
    "describe again 5: 0 is-custom-area (Area, ) type 0 unit 0 size 4 cap 21 active",
    "describe again 6: 0 tl-x (Left, ) type 2 unit 3 size 4 cap 21 [0,13139968,32768] inactive",
    "describe again 7: 0 note (Note, 1200) type 3 unit 0 size 300 cap 20 active",
    "describe again 8: 0 heading (Heading, ) type 5 unit 0 size 0 cap 21 active",
    "describe again 9: 0 restore (Restore, ) type 4 unit 0 size 0 cap 21 active",
    "describe again 10: 0 page-width (Page Width, set page width) type 1 unit 3 size 4 cap 21 active",
    "describe again 11: 0 page-height (Page Height, set page height) type 1 unit 3 size 4 cap 21 active",
    "describe again 12: 0 duplex (Duplex, set page to be simplex or duplex) type 0 unit 0 size 4 cap 21 active",
    "read again count: 0 10",
    "read again 1: 0 A4",
    "read again 2: 0 双面",
    "read again 7: 0 as it was",
    "read again 3: 0 300",
    "read again 4: 0 117964",
    "read again 5: 0 0",
    "read again 6: 0 671744",
    "read again 8: 1 99",
    "parameters: 0 50 x 20",
    "start: 0",
    "read part 1: 0 400 right",
    "read part 2: 0 400 right",
    "read part 3: 0 200 right",
    "read part 4: 5 0 right",
    "start again: 0",
    "image: 0 20 24",
    "cancel: 0",
    "close: 0",
    "exit: 0",
};

texts texts_of(const session &steps)
{
    texts all;
    for (const step &each : steps)
        all.push_back(each.text());
    return all;
}

} // namespace

TEST(session, is_as_the_documents_say)
{
    EXPECT_EQ(expected_steps, texts_of(usual().steps));
}

TEST(session, repeats_itself)
{
    usual();
    expect_usual_session();
}

} // namespace injection
