# SPDX-License-Identifier: Apache-2.0
"""A headless browser, where Chromium, its driver and python3-selenium are installed."""
import contextlib
import shutil
import tempfile

try:
    from selenium import webdriver
    from selenium.webdriver.chrome.service import Service
except ImportError:
    webdriver = None

CHROMIUM, DRIVER = shutil.which("chromium"), shutil.which("chromedriver")
FLAGS = ["--headless", "--no-sandbox", "--disable-dev-shm-usage", "--disable-gpu", "--disable-quic", "--no-first-run", "--disable-component-update",
         "--disable-background-networking", "--disable-sync"]
INSTALLED = bool(webdriver and CHROMIUM and DRIVER)


@contextlib.contextmanager
def started():
    """A browser with a profile of its own, which is removed at the end."""
    with tempfile.TemporaryDirectory(ignore_cleanup_errors=True) as profile:
        options = webdriver.ChromeOptions()
        options.binary_location = CHROMIUM
        for flag in [*FLAGS, f"--user-data-dir={profile}"]:
            options.add_argument(flag)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        driver = webdriver.Chrome(service=Service(DRIVER), options=options)
        try:
            yield driver
        finally:
            driver.quit()


def screen(driver, width, scheme, media=""):
    driver.execute_cdp_cmd("Emulation.setEmulatedMedia",
                           {"media": media, "features": [{"name": "prefers-color-scheme", "value": scheme}]})
    driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride",
                           {"width": width, "height": 900, "deviceScaleFactor": 1, "mobile": width < 600})
