#include "tests/road/Orvtrace.h"

#include <gmock/gmock.h>

// Everything of a run lies in a folder whose name has blanks and letters beyond ASCII: the installation, the current
// folder, the run's, inputs and outputs. What is said about them names them in the same bytes.

namespace {

using testing::HasSubstr;
namespace fs = std::filesystem;

const std::string place = "mein Gerät Ω";

const std::string scenarioText = "name = \"my board\"\ncpu = \"bench/app\"\nkind = \"tpiu\"\npins = 4\n"
                                 "[transmitter]\nfrequencies = [50e6]\n"
                                 "[settings]\nstop_on_full = true\n";

TEST(Letters, AWholeRunInAFolderOfAnyName) {
    const RunSpace space(place);
    const fs::path program = copyOfInstallation(space.file("Prüfstand ₂"));
    const std::string sent(5000, 'x');
    space.write("spiel ü.bin", sent);
    space.write("Löwe.toml", scenarioText);

    const Outcome run = space.run({"record", "--json", "--scenario", "Löwe.toml", "--play", "spiel ü.bin", "--out",
                                   "Läufe", "--save", "Größe.tdf", "--raw", "roh ö.bin", "--seconds", "0.1"},
                                  program);
    ASSERT_EQ(run.code, 0) << run.errors;
    EXPECT_EQ(run.json.at("files").at("traceData"), space.file("Größe.tdf").string());
    EXPECT_EQ(run.json.at("files").at("raw").at(0), space.file("roh ö.bin").string());
    EXPECT_TRUE(fs::exists(space.file("Läufe") / toolkit::filePath("Löwe.xml")));
    EXPECT_THAT(readBytes(space.file("roh ö.bin")), HasSubstr(sent.substr(0, 64)));

    const Outcome listed = space.run({"tdf", "list", "Größe.tdf", "--json"}, program);
    ASSERT_EQ(listed.code, 0) << listed.errors;
    EXPECT_EQ(listed.json.at("file"), "Größe.tdf");
    const Outcome extracted = space.run({"tdf", "extract", "Größe.tdf", "heraus ß.bin"}, program);
    EXPECT_EQ(extracted.code, 0) << extracted.errors;
    EXPECT_THAT(extracted.output, HasSubstr("heraus ß.bin"));
    EXPECT_EQ(readBytes(space.file("heraus ß.bin")), readBytes(space.file("roh ö.bin")));
    const Outcome created = space.run({"tdf", "create", "neu ä.tdf", "--data", "roh ö.bin"}, program);
    EXPECT_EQ(created.code, 0) << created.errors;
    EXPECT_TRUE(fs::exists(space.file("neu ä.tdf")));

    const Outcome doctor = space.run({"doctor", "Läufe", "--json"}, program);
    EXPECT_EQ(doctor.code, 0) << doctor.errors << doctor.output;
    EXPECT_THAT(doctor.json.at("stem").get<std::string>(), HasSubstr("Läufe"));
    const Outcome report = space.run({"report", "Läufe", "--out", "Seite ö.html"}, program);
    EXPECT_EQ(report.code, 0) << report.errors;
    EXPECT_THAT(report.output, HasSubstr("report Seite ö.html"));
    EXPECT_THAT(readBytes(space.file("Seite ö.html")), HasSubstr("Löwe"));
    const Outcome burst = space.run(
        {"burst", "Läufe/.VX-trace/data/Löwe.freq0.cap.txt", "--vcd", "Bündel.vcd", "--csv", "Bündel.csv"}, program);
    EXPECT_EQ(burst.code, 0) << burst.errors;
    EXPECT_THAT(burst.output, HasSubstr("Bündel.csv"));
    EXPECT_GT(fs::file_size(space.file("Bündel.vcd")), 0U);
}

TEST(Letters, ARunsOwnFolderAndSettingsOfAnyName) {
    const RunSpace space(place);
    space.write("Löwe.toml", scenarioText);
    const Outcome first = space.run({"calibrate", "--json", "--scenario", "Löwe.toml"});
    ASSERT_EQ(first.code, 0) << first.errors;
    const fs::path folder = space.file("orvtrace-Löwe");
    EXPECT_EQ(first.json.at("files").at("settings"), (folder / toolkit::filePath("Löwe.xml")).string());
    EXPECT_TRUE(fs::exists(folder / toolkit::filePath("Löwe.report.html")));
    fs::copy_file(folder / toolkit::filePath("Löwe.xml"), space.file("Kanal ö.xml"));
    const Outcome second =
        space.run({"calibrate", "--json", "--scenario", "Löwe.toml", "--settings", "Kanal ö.xml", "--out", "zwei"});
    EXPECT_EQ(second.code, 0) << second.errors;
    EXPECT_TRUE(fs::exists(space.file("zwei") / toolkit::filePath("Kanal ö.xml")));
}

TEST(Letters, FailuresNameFilesInTheSameBytes) {
    const RunSpace space(place);
    space.write("alt ä.bin", "kept");
    space.write("kaputt Ω.toml", "cpu = \n");
    const std::vector<std::pair<std::vector<std::string>, std::string>> failures{
        {{"tdf", "list", "fehlt ü.tdf"}, "fehlt ü.tdf"},
        {{"record", "--scenario", "clean", "--play", "fehlt ü.bin"}, "fehlt ü.bin"},
        {{"record", "--scenario", "fehlt ü.toml"}, "fehlt ü.toml"},
        {{"record", "--scenario", "kaputt Ω.toml"}, "kaputt Ω.toml"},
        {{"record", "--scenario", "clean", "--raw", "alt ä.bin"}, space.file("alt ä.bin").string()},
        {{"record", "--scenario", "clean", "--library", "fehlt ü/x.so"}, "fehlt ü"},
        {{"doctor", "fehlt ü"}, "fehlt ü"},
        {{"burst", "fehlt ü.cap.txt", "--vcd", "x.vcd"}, "fehlt ü.cap.txt"},
        {{"pins", "--map-file", "fehlt ü.map"}, "fehlt ü.map"},
        {{"tdf", "create", "fehlt ü/x.tdf"}, "fehlt ü"},
    };
    for (const auto& [arguments, named] : failures) {
        const Outcome run = space.run(arguments);
        EXPECT_NE(run.code, 0);
        EXPECT_THAT(run.errors, HasSubstr(named));
        EXPECT_EQ(lines(withoutProgress(run.errors)), 1U) << run.errors;
    }
    EXPECT_EQ(readBytes(space.file("alt ä.bin")), "kept");
}

} // namespace
