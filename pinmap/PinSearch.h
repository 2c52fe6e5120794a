#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

// The search for emulation pins that carry the trace of several channels at once: functions on plain maps.

namespace Vx::Qrs::Trace::OrvRcvr {

/// One possible assignment, as emulation pin numbers: the clock first, then the data pins.
using PinList = std::vector<std::uint32_t>;

/// The assignments of one way of programming a device's pins, by trace kind and in the order read.
using Pinout = std::map<std::string, std::vector<PinList>>;
/// By pin-out name.
using Pinouts = std::map<std::string, Pinout>;
/// Which part of the device owns the trace source, by trace kind.
using OwnerNames = std::map<std::string, std::string>;

struct PinRequest {
    std::string kind;
    std::uint32_t dataPins = 0;
    bool exact = false; ///< false: at least that many data pins
};

struct PinGrant {
    PinList pins;
    std::string owner;
};

/// By request name, which is the channel's.
using PinRequests = std::map<std::string, PinRequest>;
using PinGrants = std::map<std::string, PinGrant>;

/// The first list of one pin-out that serves one request with no excluded pin and, when `required` is not empty, with
/// required pins only. A grant adds the kind to `owners` when it is missing. False leaves `grant` unchanged.
bool tryPinout(PinGrant& grant, const Pinouts& pinouts, OwnerNames& owners, const std::string& pinoutName,
               const PinRequest& request, const PinList& excluded, const PinList& required);

/// One pin-out that serves all requests with no pin used twice: first with exact fits for all, then as each request
/// says; in each round without pins 0 and 1, without pin 0, without pin 1, with both. False leaves the grants of the
/// last attempt in `grants`, and `pinoutName` unchanged.
bool searchPinouts(PinGrants& grants, std::string& pinoutName, const Pinouts& pinouts, OwnerNames& owners,
                   const PinRequests& requests, const PinList& excluded, const PinList& required);

} // namespace Vx::Qrs::Trace::OrvRcvr
