// SPDX-License-Identifier: MIT
#include "tests/sweep/kinds.h"

#include <string>

namespace sweep {

namespace {

// Setups: a base and what is varied on it.
const std::string kRegions = "runs={0,1}";
const std::string kChoices = kRegions + " boots={0,1}";
const std::string kMaps = " pages={none,edges,eighth}";
const std::string kThree = " pages=three";
const std::string kBackAtOnce = kThree + " boot_ms=0";
const std::string kBothEnabled = kBackAtOnce + " start=both-enabled";
const std::string kUpdated = kThree + " start=updated";
const std::string kFlags = kThree + " {,--without-force-update} {,--update-without-reset} {,--update-without-disable}";
const std::string kCtl = "sv_ctl runs=0";
const std::string kCtlThree = "sv_ctl " + kChoices + kThree;
const std::string kReached = "sv_ctl state={state} boots={0,1} pages={three,other}";
const std::string kNothing = kThree + " start={up-to-date,reboot-only} --without-force-update";

constexpr const char* kNack = "nack@{transfer}";
constexpr const char* kDead = "dead@{transfer}";
constexpr const char* kRestart = "restart@{transfer}";
constexpr const char* kKill = "killed before the first transfer|kill@{transfer}";
constexpr const char* kCut = "restart@any-change|cut@any-change#{change}";
constexpr const char* kCutBoth = "both cut before the first change|both cut after any-change#{change}";
constexpr const char* kLost = "lost@{transfer}";
constexpr const char* kSkip = "skip@{commit,enable,reset-delayed}x{1,2,3,*}";
constexpr const char* kHang = "hang@any-command#{command}";
constexpr const char* kDenied = "denied@{command}";
constexpr const char* kKillAtChange = "killed before the first change|killed after any-change#{change}";
constexpr const char* kTear =
    "tear={erased pages}@erase|tear={0,256,512}@commit#{commit}|tear={0,1}@enable|tear={0,1}@disable";

constexpr Limits kOnce = {.attempts = 2, .timeouts = 0, .page_retries = 1};
constexpr Limits kUnanswered = {.attempts = 2, .timeouts = 2, .page_retries = 5};
constexpr Limits kAllRefused = {.attempts = 2, .timeouts = 0, .page_retries = 15};
// All commands of the power summary may time out, then two identities or the five tries of one page.
constexpr Limits kAllTimeOut = {.attempts = 2, .timeouts = 40, .page_retries = 15};
constexpr Limits kTwice = {.attempts = 3, .timeouts = 2, .page_retries = 10};

using enum Mode;
using enum Window;

// clang-format off
const std::vector<Kind> kAll = {
    {"no acknowledge, once", kGoesOn, kRegions, kNack, kOnce},
    {"bus dead from then on", kGoesOn, kRegions, kDead, kUnanswered, {{kBeforeRestart, 2}, {kResetLost, 2}}},
    {"command fails, once", kGoesOn, kRegions, "fail@any-command#{command}", kOnce},
    {"commands fail from then on", kGoesOn, kRegions, "fail@any-command#{command}x*", kAllRefused, {{kResetLost, 2}}},
    {"command never finishes, once", kGoesOn, kRegions, "hang@any-command#{command}", kUnanswered},
    {"commands never finish from then on", kGoesOn, kRegions, "hang@any-command#{command}x*", kAllTimeOut,
     {{kResetLost, 2}}},
    {"frame done, write reported failed", kGoesOn, kRegions, "lost@any-frame#{frame}", kOnce, {{kLostAnswer, 2}}},
    {"tool killed, then run again", kKilled, kRegions, kKill, kOnce, {{kBeforeRestart, 8}}},
    {"MCU restarts", kGoesOn, kChoices, kRestart, kUnanswered},
    {"power of the MCU cut", kGoesOn, kChoices, kCut, kUnanswered},
    {"power of both cut, then run again", kBothCut, kChoices, kCutBoth, kOnce},
    {"torn operation", kGoesOn, kChoices, kTear, kUnanswered},
    {"torn operation, power of both cut", kTornAndCut, kChoices, kTear, kUnanswered},
    {"bus gone for 10 ms", kGoesOn, kRegions, "nack@{16th transfer}+10ms", kTwice},
    {"bus gone for 100 ms", kGoesOn, kRegions, "nack@{16th transfer}+100ms", kTwice},
    {"bus gone for 1,000 ms", kGoesOn, kRegions, "nack@{16th transfer}+1000ms", kTwice},
    {"bus gone for 10,000 ms", kGoesOn, kRegions, "nack@{16th transfer}+10000ms", kTwice},
    {"two without acknowledge, three pages", kGoesOn, kRegions + kThree,
     "nack@{transfer} nack@{later transfer}", kTwice},
    {"lost answer and power cut, three pages", kGoesOn, kChoices + kThree,
     "lost@any-frame#{frame} cut@any-change#{change of two attempts}", kTwice, {{kLostAnswer, 236}}},
    {"two MCU restarts, three pages", kGoesOn, kChoices + kBackAtOnce,
     "restart@any-frame#{frame} restart@any-frame#{frame}", kTwice, {{kRestartBetween, 38}}},
    {"sparse maps: no acknowledge", kGoesOn, kRegions + kMaps, kNack, kOnce},
    {"sparse maps: tool killed", kKilled, kRegions + kMaps, kKill, kOnce, {{kBeforeRestart, 24}}},
    {"sparse maps: power of the MCU cut", kGoesOn, kChoices + kMaps, kCut, kUnanswered},
    {"force, reset, disable: no acknowledge", kGoesOn, kRegions + kFlags, kNack, kOnce},
    {"force, reset, disable: tool killed", kKilled, kRegions + kFlags, kKill, kOnce, {{kBeforeRestart, 24}}},
    {"force, reset, disable: MCU restarts", kGoesOn, kChoices + kFlags, kRestart, kUnanswered},
    {"nothing to program: no acknowledge", kGoesOn, kRegions + kNothing, kNack, kOnce},
    {"nothing to program: bus dead", kGoesOn, kRegions + kNothing, kDead, kUnanswered, {{kResetLost, 198}}},
    {"nothing to program: tool killed", kKilled, kRegions + kNothing, kKill, kOnce},
    {"nothing to program: MCU restarts", kGoesOn, kChoices + kNothing, kRestart, kUnanswered},
    // Nothing is done, and the released bus reads FF.
    {"MCU restarts inside a status read", kGoesOn, kChoices + kBackAtOnce,
     "tear=0@any-change#{change} flip@{poll of this change}", kTwice, {{kFalseSuccess, 24}}},
    {"MCU restarts, back at once", kGoesOn, kChoices + kBackAtOnce, kRestart, kUnanswered, {{kRestartBetween, 2}}},
    {"MCU restarts, both regions enabled", kGoesOn, kChoices + kBothEnabled, kRestart, kTwice,
     {{kRestartBetween, 2}, {kRegionsSwitched, 206}}},
    {"second update, MCU restarts", kGoesOn, kChoices + kUpdated, kRestart, kUnanswered,
     {{kBeforeRestart, 436}, {kRegionsSwitched, 116}}},
    {"second update, power of both cut", kBothCut, kChoices + kUpdated, kCutBoth, kOnce, {{kBeforeRestart, 208}}},
    {"sv_ctl: no acknowledge", kGoesOn, kCtl, kNack, {}},
    {"sv_ctl: bus dead from then on", kGoesOn, kCtl, kDead, {}},
    {"sv_ctl: answer lost", kGoesOn, kCtl, kLost, {}},
    {"sv_ctl: command never finishes", kGoesOn, kCtl, kHang, {}},
    {"sv_ctl: command done, reported failed", kGoesOn, kCtl, kDenied, {}},
    {"sv_ctl: MCU restarts", kGoesOn, kCtl, kRestart, {}},
    {"sv_ctl: killed, then run again", kKilled, kCtl, kKill, {}},
    {"sv_ctl: power of both cut", kBothCut, kCtl, kCutBoth, {}},
    {"sv_ctl, three pages: no acknowledge", kGoesOn, kCtlThree, kNack, {}},
    {"sv_ctl, three pages: bus dead", kGoesOn, kCtlThree, kDead, {}},
    {"sv_ctl, three pages: answer lost", kGoesOn, kCtlThree, kLost, {}},
    {"sv_ctl, three pages: never finishes", kGoesOn, kCtlThree, kHang, {}},
    {"sv_ctl, three pages: done, failed", kGoesOn, kCtlThree, kDenied, {}},
    {"sv_ctl, three pages: MCU restarts", kGoesOn, kCtlThree, kRestart, {}},
    {"sv_ctl, three pages: MCU back at once", kGoesOn, kCtlThree + " boot_ms=0", kRestart, {}},
    {"sv_ctl, three pages: command lost", kGoesOn, kCtlThree, kSkip, {}},
    {"sv_ctl, three pages: killed", kKilled, kCtlThree, kKill, {}},
    {"sv_ctl, three pages: power of both cut", kBothCut, kCtlThree, kCutBoth, {}},
    {"sv_ctl, every state: killed", kKilledAtChange, kReached, kKillAtChange, {},
     {{kUnstartableBefore, 160}, {kOverwritten, 264}, {kIdZero, 1506}}},
    {"sv_ctl, every state: power of both cut", kBothCut, kReached, kCutBoth, {},
     {{kUnstartableBefore, 6520}, {kOverwritten, 2376}, {kIdZero, 1248}}},
};
// clang-format on

}  // namespace

std::span<const Kind> kinds() {
    return kAll;
}

}  // namespace sweep
