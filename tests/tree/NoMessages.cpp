#include "tests/tree/Messages.h"

// Sentences of the sources that are no messages.

namespace tree {

namespace {

const std::string fillsIn = "is filled into a message";
const std::string inFront = "stands in front of messages";
const std::string operation = "the name of an operation, in front of steps in the log";
const std::string lookedFor = "is looked for in a message of the receiver";
const std::string writes = "goes into a file that is no log";
const std::string speaks = "goes to the data server's side connection";
const std::string attribute = "the name of an attribute";
const std::string heading = "a heading or the name of a value, which stands beside it";
const std::string markup = "is markup, and not seen";
const std::string title = "the title of a picture, for whoever has the page read out";
const std::string listing = "a line of a listing that was asked for";

} // namespace

const std::vector<FileException>& filesWithoutMessages() {
    static const std::vector<FileException> all{
        {"diagnosis/files/RegisterFile.cpp", "names registers and their fields"},
        {"host/scenario/ScenarioFile.cpp", "says in words what a scenario asks for, when it is asked what that is"},
    };
    return all;
}

const std::vector<Exception>& piecesThatAreNoMessages() {
    static const std::vector<Exception> all{
        {"ORV Receiver", inFront},
        {"OrvRcvr :", inFront},
        {"Kite R2 Trace -", inFront},
        {"orvtrace:", inFront},
        {"ChannelDriver", operation},
        {"ConvertXmlToFrontEndPropsFile", operation},
        {"GetAttribute", operation},
        {"GetProgress", operation},
        {"RegisterCpuHalt", operation},
        {"SaveFile", operation},
        {"SetConfiguration", operation},
        {"StartRecording", operation},
        {"StopRecording", operation},
        {"TransmitterZarn_1::program", operation},
        {"UnregisterCPU", operation},
        {"HaloTargetAdapter", fillsIn},
        {"PATH", "the variable whose value is told"},
        {"mpx_ecom_server.exe", fillsIn},
        {"orv_client_utilities", "the source unit's name, which goes into the place of an error"},
        {"pause", "the name of a mode in the condition of a call"},
        {"reading", fillsIn},
        {"glitch_length", fillsIn},
        {"command", fillsIn},
        {"action", fillsIn},
        {"Sample", fillsIn},
        {"section", fillsIn},
        {"data pin", fillsIn},
        {">data pins", "the title of a column"},
        {"word", fillsIn},
        {"whole number", fillsIn},
        {"the clock's", fillsIn},
        {"the data's", fillsIn},
        {"settings file", fillsIn},
        {"file to play", fillsIn},
        {"alternating bits", fillsIn},
        {"the unit's alternating bits", fillsIn},
        {"the unit's ramp", fillsIn},
        {"yzafpnum kMGTPEZY", "the prefixes of numbers"},
        {"Bad installation", lookedFor},
        {"Cannot get target adapter", lookedFor},
        {"Cannot load target adapter", lookedFor},
        {"This device is not supported", lookedFor},
        {"internal rsp", lookedFor},
        {"invald rsp", lookedFor},
        {"invalid rsp", lookedFor},
        {"loading settings from", lookedFor},
        {") failed freq", lookedFor},
        {"SetConfiguration std exception :", lookedFor},
        {"overwriting file with defaults", lookedFor},
        {"Failed to return CPU info", lookedFor},
        {"Invalid TDF format", lookedFor},
        {"section cannot be located", lookedFor},
        {"buffer full", lookedFor},
        {"pin map", lookedFor},
        {"upload complete", lookedFor},
        {"uploading data", lookedFor},
        {"unknown reason", "stands in for a reason that the log lacks"},
        {"<?xml version=\"1.0\" encoding=\"UTF-8\"?>", writes},
        {"Kite R2 Trace", writes},
        {"[Global] orv=", writes},
        {"Hz dataFrequency=", writes},
        {"words/second dataRate=", writes},
        {"bits/second oversampling=", writes},
        {"[Properties] drmXmtr=", writes},
        {"samples a second", writes},
        {"$end $timescale 1 ps $end $scope module burst $end", writes},
        {", first sample", writes},
        {"$var wire 1", writes},
        {"$upscope $end $enddefinitions $end", writes},
        {"program pattern=", speaks},
        {"Device Clock Frequency", attribute},
        {"Timing Clock Frequency", attribute},
        {"Trace Clock Frequency", attribute},
        {"Trace Data Frequency", attribute},
        {"Trace Pin-out Select List", attribute},
        {"Trace EBM Size Select List", attribute},
        {"Trace Clock Select List", attribute},
        {"Trace Data Pin Size", attribute},
        {"Buffer Wrapped", attribute},
        {"TWP Source", attribute},
        {"ETB Samples", attribute},
        {"ETB Data Flip Needed", attribute},
        {"Exit codes:", heading},
        {"calibration report", heading},
        {"receiver's files", heading},
        {"trace data file", heading},
        {"raw copy", heading},
        {"pin map file", heading},
        {"data (bit 0 first)", heading},
        {"Calibration of", heading},
        {"trace clock", heading},
        {"over all data pins", heading},
        {"samples a clock period", heading},
        {"samples in its period", heading},
        {"kind of export", heading},
        {"room around the clock's edge", heading},
        {"delays that would do, 0 to 31", heading},
        {"ahead / behind", heading},
        {"ones / zeros", heading},
        {"filter / plateau / debounce", heading},
        {"fits best", heading},
        {"fits its own bits", heading},
        {"shifted by", heading},
        {"clock edge", heading},
        {"Registers of the unit", heading},
        {". Lengths are in samples.", heading},
        {"Lengths are in samples.", heading},
        {"role=\"img\" aria-label=\"", markup},
        {"finding note", markup},
        {"finding none", markup},
        {"finding plain", markup},
        {"cut lost", markup},
        {"sampling faint", markup},
        {"size bad", markup},
        {"size good", markup},
        {"wave clock", markup},
        {"bit one", markup},
        {"bit zero", markup},
        {"all pins together", title},
        {": eye from", title},
        {"changes, open for", title},
        {"samples free ahead of the clock edge,", title},
        {": right for delays from", title},
        {", set to", title},
        {"the burst of", title},
        {"at sample", title},
        {"all pins from sample", title},
        {", with a mark:", title},
        {"samples of", listing},
        {", with setting", listing},
        {"stops when full", listing},
        {"; of a soak:", listing},
        {"million words a second over all", listing},
        {"of section", listing},
        {", no sections", listing},
        {"of about", listing},
    };
    return all;
}

} // namespace tree
