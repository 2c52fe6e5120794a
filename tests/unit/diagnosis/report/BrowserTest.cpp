#include "diagnosis/report/Report.h"
#include "tests/unit/diagnosis/doctor/BenchFiles.h"
#include "tests/unit/diagnosis/report/Browser.h"

#include <gmock/gmock.h>

#include <regex>

// The page in a real browser. What it has drawn is asked of the browser itself, by a script that only these tests add:
// the size of every drawing, and which of its strokes and fills can be seen.

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr const char* inspection = R"js(<script>
addEventListener('load', () => {
  const lines = [];
  const say = (key, value) => lines.push(key + '=' + value + ';');
  const svgs = [...document.querySelectorAll('svg')];
  say('svgs', svgs.length);
  let empty = 0, outside = 0, unseen = 0, shapes = 0;
  for (const svg of svgs) {
    const box = svg.getBoundingClientRect(), inner = svg.getBBox();
    if (box.width < 50 || box.height < 10 || inner.width < 5 || inner.height < 5) ++empty;
    for (const shape of svg.querySelectorAll('path,line,rect,circle,text')) {
      ++shapes;
      const own = shape.getBBox(), view = svg.viewBox.baseVal;
      if (own.x < -2 || own.y < -2 || own.x + own.width > view.width + 2 || own.y + own.height > view.height + 2) ++outside;
      const style = getComputedStyle(shape);
      const colour = getComputedStyle(document.body).backgroundColor;
      if (style.stroke === 'none' && (style.fill === 'none' || style.fill === colour)) ++unseen;
      if (!Number.isFinite(own.width)) ++unseen;
    }
  }
  say('shapes', shapes); say('empty', empty); say('outside', outside); say('unseen', unseen);
  say('eyes', document.querySelectorAll('svg.eye').length);
  say('traces', document.querySelectorAll('svg.eye path.trace').length);
  say('waves', document.querySelectorAll('svg.waveform path.wave').length);
  say('scripts', document.scripts.length);
  say('width', innerWidth);
  say('resources', performance.getEntriesByType('resource').filter(e => !e.name.startsWith('data:')).length);
  say('wide', document.documentElement.scrollWidth > innerWidth);
  say('scrolled', [...document.querySelectorAll('.scroll')].filter(box => box.scrollWidth > box.clientWidth).length);
  say('beside', [...document.querySelectorAll('main *')].filter(
    part => !part.closest('.scroll') && !part.closest('svg') && part.getBoundingClientRect().right > innerWidth + 1).length);
  say('tilerows', new Set([...document.querySelectorAll('.fact')].map(tile => tile.getBoundingClientRect().top)).size);
  say('background', getComputedStyle(document.body).backgroundColor);
  say('ink', getComputedStyle(document.body).color);
  document.documentElement.setAttribute('data-seen', lines.join(''));
});
</script>)js";

std::string inspected(const std::string& page) {
    std::string with = page;
    return with.insert(with.find("</body>"), inspection);
}

std::string pageOf(const char* scenario) {
    const BenchFiles files(namedScenario(scenario));
    const auto set = files.read();
    return diagnosis::reportPage(set, diagnosis::diagnose(set));
}

/// What the inspection says of one thing.
std::string seen(const Browser::Outcome& outcome, const std::string& key) {
    const std::size_t from = outcome.dom.find(key + "=", outcome.dom.find("data-seen="));
    if (from == std::string::npos) {
        return "nothing";
    }
    return outcome.dom.substr(from + key.size() + 1, outcome.dom.find(';', from) - from - key.size() - 1);
}

TEST(Browser, TellsOfErrorsOfAPage) {
    const Browser browser;
    EXPECT_THAT(browser.open("<!DOCTYPE html><p>x<script>noSuchThing()</script>").console, HasSubstr("noSuchThing"));
}

TEST(Browser, DrawsEveryPictureOfTheReportWithoutAnError) {
    const Browser browser;
    const std::string page = pageOf("bench-cable");
    const Browser::Outcome plain = browser.open(page);
    EXPECT_THAT(plain.console, IsEmpty());
    EXPECT_THAT(plain.dom, HasSubstr("calibrated at 50 MHz (setting 2)"));
    EXPECT_THAT(plain.dom, HasSubstr("clock margin too low"));

    const Browser::Outcome outcome = browser.open(inspected(page));
    EXPECT_THAT(outcome.console, IsEmpty());
    EXPECT_EQ(seen(outcome, "svgs"), "48") << "of each of three attempts: 10 bars, 4 eyes, a strip, a waveform";
    EXPECT_EQ(seen(outcome, "eyes"), "12");
    EXPECT_EQ(seen(outcome, "waves"), "15");
    EXPECT_GT(std::stoi(seen(outcome, "traces")), 12 * 4);
    EXPECT_GT(std::stoi(seen(outcome, "shapes")), 1000);
    EXPECT_EQ(seen(outcome, "empty"), "0");
    EXPECT_EQ(seen(outcome, "outside"), "0");
    EXPECT_EQ(seen(outcome, "unseen"), "0");
    EXPECT_EQ(seen(outcome, "scripts"), "1") << "the test's own";
    EXPECT_EQ(seen(outcome, "resources"), "0");
    EXPECT_EQ(seen(outcome, "wide"), "false") << "nothing is cut off at the right";
}

/// The page in a frame of each width, which it takes for its window: one start of the browser shows all. Keys begin with
/// the width and a full stop.
std::string framed(const std::string& page, std::initializer_list<const char*> widths) {
    const std::string quoted =
        std::regex_replace(std::regex_replace(page, std::regex("&"), "&amp;"), std::regex("\""), "&quot;");
    std::string whole = "<!DOCTYPE html><body>";
    for (const char* width : widths) {
        whole += std::string("<iframe style='border:0' height='1200' width='") + width + "' srcdoc=\"" + quoted +
                 "\"></iframe>";
    }
    return whole + R"js(<script>
addEventListener('load', () => {
  const lines = [];
  for (const frame of [...document.querySelectorAll('iframe')]) {
    const seen = frame.contentDocument.documentElement.getAttribute('data-seen');
    lines.push(seen.replace(/(\w+)=/g, frame.width + '.$1='));
    frame.remove();
  }
  document.documentElement.setAttribute('data-seen', lines.join(''));
});
</script>)js";
}

TEST(Browser, ShowsTheWholeLaneTableFrom900PixelsOn) {
    const Browser browser;
    const auto outcome = browser.open(framed(inspected(pageOf("bench-cable")), {"900", "1000", "1400", "500", "360"}));
    for (const std::string width : {"900", "1000", "1400"}) {
        EXPECT_EQ(seen(outcome, width + ".width"), width);
        EXPECT_EQ(seen(outcome, width + ".wide"), "false") << width;
        EXPECT_EQ(seen(outcome, width + ".scrolled"), "0") << width;
        EXPECT_EQ(seen(outcome, width + ".tilerows"), "1") << width;
    }
    for (const std::string width : {"500", "360"}) {
        EXPECT_EQ(seen(outcome, width + ".width"), width);
        EXPECT_EQ(seen(outcome, width + ".wide"), "false") << "tables scroll, the page does not";
        EXPECT_EQ(seen(outcome, width + ".beside"), "0");
    }
    EXPECT_EQ(seen(outcome, "500.scrolled"), "6") << "lanes and waveforms of three attempts";
    EXPECT_EQ(seen(outcome, "360.scrolled"), "7") << "one table more";
}

TEST(Browser, FollowsTheReadersChoiceOfDarkAndLight) {
    const Browser browser;
    const std::string page = inspected(pageOf("stuck-pin"));
    const Browser::Outcome light = browser.open(page, {"--blink-settings=preferredColorScheme=1"});
    const Browser::Outcome dark = browser.open(page, {"--blink-settings=preferredColorScheme=0"});
    EXPECT_EQ(seen(light, "background"), "rgb(255, 255, 255)");
    EXPECT_EQ(seen(dark, "background"), "rgb(18, 22, 28)");
    EXPECT_NE(seen(light, "ink"), seen(dark, "ink"));
    EXPECT_EQ(seen(dark, "unseen"), "0");
    EXPECT_EQ(seen(dark, "empty"), "0");
}

TEST(Browser, PrintsTheReport) {
    const Browser browser;
    const std::string document = browser.print(pageOf("clean"));
    EXPECT_TRUE(document.starts_with("%PDF-"));
    EXPECT_GT(document.size(), 50000U);
}

} // namespace
