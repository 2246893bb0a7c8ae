"""The page of `fluxgrid view` in a real browser: headless Chromium, driven
through ChromeDriver, opens the views of the demo's sensor sets from
file:// and is asked what it drew."""

from __future__ import annotations

import json
import shutil
from pathlib import Path
from typing import Any, Dict, Iterator, List, Tuple

import pytest

from conftest import run_tool

CHROMIUM = shutil.which("chromium")
CHROMEDRIVER = shutil.which("chromedriver")

webdriver = pytest.importorskip(
    "selenium.webdriver", reason="python3-selenium is not installed: no browser test"
)
if not CHROMIUM or not CHROMEDRIVER:
    pytest.skip("chromium and chromedriver are not installed: no browser test",
                allow_module_level=True)

from selenium.webdriver.chrome.options import Options  # noqa: E402
from selenium.webdriver.chrome.service import Service  # noqa: E402
from selenium.webdriver.common.action_chains import ActionChains  # noqa: E402
from selenium.webdriver.common.by import By  # noqa: E402

#: Flags that keep a headless Chromium off the network and quiet on a
#: machine without one.
CHROMIUM_FLAGS = (
    "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
    "--disable-background-networking", "--disable-component-update", "--disable-sync",
    "--window-size=1280,800",
)

#: Pixels of the canvas that are not the white background.
COUNT_INKED = """
const canvas = document.getElementById('scene');
const pixels = canvas.getContext('2d').getImageData(0, 0, canvas.width, canvas.height).data;
let inked = 0;
for (let i = 0; i < pixels.length; i += 4) {
  if (pixels[i] < 250 || pixels[i + 1] < 250 || pixels[i + 2] < 250) inked++;
}
return inked;
"""
SNAPSHOT = "return document.getElementById('scene').toDataURL();"


@pytest.fixture(scope="module")
def browser() -> Iterator[Any]:
    options = Options()
    options.binary_location = CHROMIUM
    for flag in CHROMIUM_FLAGS:
        options.add_argument(flag)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    driver = webdriver.Chrome(service=Service(CHROMEDRIVER), options=options)
    yield driver
    driver.quit()


def demo_sets(demo_dir: Path) -> List[Tuple[str, List[str]]]:
    """Each demo set with the arguments that name it and its head localization."""
    return [
        ("opm32", [str(demo_dir / "sensors" / "opm32"),
                   "--headloc", str(demo_dir / "headloc" / "opm32.headloc")]),
        ("squid21", [str(demo_dir / "sensors" / "squid21")]),
    ]


def view_and_check(args: List[str], page: Path) -> Dict[str, Any]:
    done = run_tool("view", *args, "-o", str(page))
    assert done.returncode == 0, done.stderr.decode()
    checked = run_tool("check", "--json", *args)
    assert checked.returncode in (0, 1), checked.stderr.decode()
    return json.loads(checked.stdout)


def severe_console_entries(driver: Any) -> List[Dict[str, Any]]:
    return [entry for entry in driver.get_log("browser") if entry["level"] == "SEVERE"]


@pytest.mark.parametrize("name", ["opm32", "squid21"])
def test_view_draws_every_channel_and_lists_every_finding_of_the_check(
    name: str, demo_dir: Path, tmp_path: Path, browser: Any
) -> None:
    args = dict(demo_sets(demo_dir))[name]
    page = tmp_path / f"{name}.html"
    report = view_and_check(args, page)

    browser.get(page.as_uri())
    assert severe_console_entries(browser) == []
    body = browser.find_element(By.TAG_NAME, "body")
    assert int(body.get_attribute("data-channels-drawn")) == report["channels"]
    assert report["channels"] > 0
    listed = browser.find_elements(By.CSS_SELECTOR, "#findings li.finding")
    assert [li.get_attribute("data-code") for li in listed] == [
        f["code"] for f in report["findings"]
    ]
    assert browser.execute_script(COUNT_INKED) > 5000


def test_dragging_and_the_view_buttons_turn_the_picture(
    demo_dir: Path, tmp_path: Path, browser: Any
) -> None:
    page = tmp_path / "opm32.html"
    view_and_check(dict(demo_sets(demo_dir))["opm32"], page)
    browser.get(page.as_uri())
    canvas = browser.find_element(By.ID, "scene")
    before = browser.execute_script(SNAPSHOT)
    ActionChains(browser).move_to_element(canvas).click_and_hold().move_by_offset(
        120, 40).release().perform()
    dragged = browser.execute_script(SNAPSHOT)
    assert dragged != before

    browser.find_element(By.CSS_SELECTOR, "button[data-view='top']").click()
    top = browser.execute_script(SNAPSHOT)
    browser.find_element(By.CSS_SELECTOR, "button[data-view='left']").click()
    left = browser.execute_script(SNAPSHOT)
    assert len({dragged, top, left}) == 3
    assert severe_console_entries(browser) == []


def test_clicking_a_channel_shows_its_name_and_position(
    demo_dir: Path, tmp_path: Path, browser: Any
) -> None:
    page = tmp_path / "squid21.html"
    view_and_check(dict(demo_sets(demo_dir))["squid21"], page)
    browser.get(page.as_uri())
    browser.find_element(By.CSS_SELECTOR, "button[data-view='top']").click()
    # A pixel of a disc's fill (green for MEG, red for a channel with a
    # finding, both drawn at 85% over white) is where the picture put a
    # channel.
    spot = browser.execute_script("""
        const canvas = document.getElementById('scene');
        const w = canvas.width, h = canvas.height;
        const px = canvas.getContext('2d').getImageData(0, 0, w, h).data;
        const near = (i, r, g, b) => Math.abs(px[i] - r) + Math.abs(px[i + 1] - g) + Math.abs(px[i + 2] - b) < 30;
        for (let y = 0; y < h; y += 2) for (let x = 0; x < w; x += 2) {
          const i = 4 * (y * w + x);
          if (near(i, 78, 151, 115) || near(i, 215, 40, 61)) return {x, y, w, h};
        }
        return null;
    """)
    assert spot is not None, "no channel drawn in its colour"
    canvas = browser.find_element(By.ID, "scene")
    ActionChains(browser).move_to_element_with_offset(
        canvas, spot["x"] - spot["w"] // 2, spot["y"] - spot["h"] // 2).click().perform()
    text = browser.find_element(By.ID, "details").text
    assert "position" in text and "orientation" in text and "gain" in text
