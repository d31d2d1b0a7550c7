"""Tries the console's page as a person would: page_run.py FOLDER, where pictures of it go.

A lock is simulated, a console serves it; a browser logs in by the keyboard, sees a card refused as it happens, asks why,
and opens the door. Names that would be HTML, very long ones and ones written from right to left are among the users."""

import http.client
import json
import os
import ssl
import sys
import tempfile
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
sys.path[:0] = [f"{ROOT}/tests/apps", f"{ROOT}/scripts"]

from browser import Browser  # noqa: E402
from test_api import code_of  # noqa: E402
from test_link import certificate  # noqa: E402
from tools import BUILD, Running, console, simulator  # noqa: E402

LOCK = "000.123.457"
CARD, OTHER = "04:A1:22:3B", "04:A1:22:3C"
HTML = "<img src=x onerror=\"document.title='broken in'\"><script>document.title='broken in'</script>"
LONG = "Wolfeschlegelsteinhausenbergerdorff" * 60
SPOOF = "%2 \u2069\u202eevil"  # a placeholder of the page's own texts, and signs that would turn its lines around
ARABIC = "\u0633\u0627\u0631\u0629 \u0627\u0644\u0645\u0646\u0635\u0648\u0631\u064a"
PASSWORD = "correct horse battery"


def check(condition, what):
    if not condition:
        raise AssertionError(what)
    print(f"  {what}")


class Site:
    """An installation with a door and its lock."""

    def __init__(self, where):
        self.where = where
        self.database = f"{where}/site.db"
        certificate("console", where, f"{BUILD}/dev-ca", "--name", "IP:127.0.0.1")
        certificate(LOCK, where)
        for name in (HTML, LONG, ARABIC, SPOOF, "Anna Berger", "Ben Costa"):
            self.ask("users", "add", name, "Department=Lab")
        self.ask("media", "add", CARD, "--user", "Anna Berger")
        self.ask("media", "add", OTHER, "--user", HTML)
        self.ask("doors", "add", "Main Entrance", "Building=A")
        self.ask("doors", "assign", "Main Entrance", LOCK)
        self.ask("schedules", "add", "Never", "")
        self.ask("grant", "Anna Berger", "Main Entrance")
        self.ask("grant", HTML, "Main Entrance", "--schedule", "Never")
        with open(f"{where}/password", "w", encoding="ascii") as file:
            file.write(PASSWORD)
        self.ask("logins", "add", "anna", "Anna Berger", "--password-file", f"{where}/password")
        self.ask("logins", "permit", "anna", "Administrator")
        self.ask("logins", "add", "careful", ARABIC, "--password-file", f"{where}/password")
        self.ask("logins", "permit", "careful", "AccessPointsRead")
        self.otp = self.ask("logins", "otp", "careful").strip()
        self.ask("logins", "add", "guest", "Ben Costa", "--password-file", f"{where}/password")
        self.server = Running("kyr_console", "--database", self.database, "--socket", f"{where}/socket", "--log-file", "none",
                              "serve", "--port", 0, "--json", "--certificate", f"{where}/console.pem", "--key",
                              f"{where}/console.key")
        self.port = json.loads(self.server.until('{"port"'))["port"]
        self.url = f"https://127.0.0.1:{self.port}"
        self.lock, _, _ = simulator("--label", LOCK, "--ca", f"{BUILD}/dev-ca/ca-chain.pem", "--call", self.url, "--certificate",
                                    f"{where}/%1.pem", "--key", f"{where}/%1.key", "--state", f"{where}/locks", "--control",
                                    f"{where}/lock")
        self.server.until("came in")

    def ask(self, *command):
        code, out, error = console(*command, database=self.database)
        if code != 0:
            raise AssertionError(f"{command[:2]}: {error}")
        return out

    def control(self, *command):
        return console("--attach", f"{self.where}/lock", *command)

    def close(self):
        for tool in (self.lock, self.server):
            tool.__exit__()


def log_in_by_keyboard(page, name):
    page.until("!document.getElementById('login').hidden && document.activeElement.id === 'name'", "the log-in has the focus")
    page.type(name)
    page.press("Tab")
    page.type(PASSWORD)
    page.press("Enter")
    page.until("!document.getElementById('work').hidden")


def tab_to(page, condition, what):
    for _ in range(60):
        if page.value(f"!!(element => {condition})(document.activeElement)"):
            return
        page.press("Tab")
    raise AssertionError(f"the keyboard does not reach {what}")


def log_in_with_code(site, page):
    page.value("document.getElementById('name').value = ''; document.getElementById('name').focus()")
    page.type("careful")
    page.press("Tab")
    page.type(PASSWORD)
    page.press("Enter")
    page.until("document.activeElement.id === 'code' && !!document.getElementById('code').offsetParent", "a one-time password is asked for")
    page.picture(f"{sys.argv[1]}/code-360.png")
    page.type("000000")
    page.press("Enter")
    page.until("document.getElementById('login-error').textContent.includes('wrong')", "a wrong one is refused")
    check(page.value("document.activeElement.id === 'password'"), "a wrong one-time password leads back to the password")
    page.value("document.getElementById('code').value = ''; document.getElementById('code').focus()")
    page.type(code_of(site.otp, int(time.time()) // 30))
    page.press("Enter")
    page.until("!document.getElementById('work').hidden && !!document.querySelector('#doors li')", "the right one lets in")
    check(page.value("document.getElementById('events').hidden"), "logs in with a one-time password")
    click(page, "#logout", "Log out")
    page.until("!document.getElementById('login').hidden")


def open_by_keyboard(page):
    page.value("document.getElementById('language').focus()")
    tab_to(page, "element.textContent === 'Open' && element.closest('#doors')", "the door's button")
    page.press("Enter")
    page.until("!!document.activeElement.closest('.really')", "it is asked again")
    page.press("Enter")
    page.until("[...document.querySelectorAll('#events li')].filter(line => line.textContent.includes('opened remotely')).length > 1",
               "opened by the keyboard")
    page.until("!!document.activeElement.closest('#doors li')", "the focus stays at the door")
    check(True, "opens the door by the keyboard alone")


def click(page, selector, text):
    page.until(f"""(() => {{ const found = [...document.querySelectorAll({json.dumps(selector)})]
        .find(element => element.textContent.includes({json.dumps(text)})); if (found) found.click(); return !!found; }})()""",
               f"{selector} with {text}")


def try_page(site, page, pictures):
    page.look(360, 740)
    page.open(site.url)
    page.until("document.getElementById('login').hidden === false")
    page.picture(f"{pictures}/login-360.png")
    page.value("document.getElementById('name').focus()")
    page.type("anna")
    page.press("Tab")
    page.type("wrong")
    page.press("Enter")
    page.until("document.getElementById('login-error').textContent !== ''", "a wrong password is told")
    page.value("document.getElementById('name').value = ''; document.getElementById('password').value = ''; "
               "document.getElementById('name').focus()")
    log_in_by_keyboard(page, "anna")
    page.until("document.querySelector('#devices li')?.textContent.includes('000.123.457')")
    check(True, "logs in by the keyboard and sees the linked lock")

    before = page.value("document.querySelectorAll('#events li').length")
    code, out, _ = site.control("present", LOCK, OTHER)
    check('"allowed":false' in out, f"the lock refuses a card ({code})")
    page.until("document.querySelector('#events li .bad')?.textContent === 'refused'", "the refusal appears")
    check(page.value("document.querySelectorAll('#events li').length") != before
          and page.value("document.querySelector('#events li').textContent").count("onerror") == 1,
          "the refusal appears by itself, its hostile name as text")
    page.picture(f"{pictures}/events-360.png")
    page.value("document.querySelector('#events li button').click()")
    page.until("document.querySelectorAll('#why .list li').length > 0", "why")
    check("not at this time" in page.value("document.getElementById('why').textContent"), "asks why: not at this time")
    page.picture(f"{pictures}/why-360.png")

    click(page, "#doors li button", "Open")
    click(page, "#doors li span button", "Open")
    page.until("document.querySelector('#doors .note').textContent.includes('is open')", "the door is opened")
    page.until("[...document.querySelectorAll('#events li')].some(line => line.textContent.includes('opened remotely'))",
               "the opening is an event")
    check(True, "opens the door, and the opening is an event")

    open_by_keyboard(page)
    page.value("document.getElementById('find-text').value = 'evil'; document.querySelector('#find button').click()")
    click(page, "#people li button", "Why")
    page.value("document.querySelector('#ask button').click()")
    page.until("document.getElementById('verdict').textContent !== ''")
    check(page.value("document.getElementById('verdict').textContent") == "\u2068%2 evil\u2069 may not pass \u2068Main Entrance\u2069: \u2068no right\u2069.",
          "a name turns nothing around, and stands for nothing else")
    for wanted, shown in ((ARABIC[:4], ARABIC), ("Wolfe", LONG), ("<img", HTML)):
        page.value(f"document.getElementById('find-text').value = {json.dumps(wanted)}")
        page.value("document.querySelector('#find button').click()")
        page.until(f"document.querySelector('#people li bdi')?.textContent === {json.dumps(shown)}", f"{shown[:20]} is found")
        page.picture(f"{pictures}/found-{['rtl', 'long', 'html'][[ARABIC, LONG, HTML].index(shown)]}.png")
        check(page.value("document.documentElement.scrollWidth <= innerWidth"), f"nothing stands out at 360 pixels: {shown[:12]}")
    check(page.value("document.title") == "Access control" and page.value("document.images.length") == 0,
          "hostile names are text")

    titles = []
    for language in ("de", "fr", "it", "nl", "en"):
        page.value(f"document.getElementById('language').value = '{language}'; "
                   "document.getElementById('language').dispatchEvent(new Event('change'))")
        titles.append(page.value("document.title"))
        check(page.value("document.documentElement.scrollWidth <= innerWidth"), f"{language} fits: {titles[-1]}")
    check(len(set(titles)) == 5, "five languages")

    for name, size, dark in (("light-1280", (1280, 900), False), ("dark-1280", (1280, 900), True), ("dark-360", (360, 740), True)):
        page.look(*size, dark=dark)
        page.picture(f"{pictures}/{name}.png")

    unreachable = page.value("""[...document.querySelectorAll('button, input, select')].filter(element =>
        element.offsetParent && element.tabIndex < 0).length""")
    check(unreachable == 0, "everything is reached by the keyboard")

    page.value("fetch('https://localhost:1/').catch(error => 0)")
    check(any("Content Security Policy" in line for line in page.logged), "the policy lets the page ask no other server")
    others = [line for line in page.logged if "Content Security Policy" not in line and "401" not in line]
    check(others == [], f"nothing else to say in the browser's console {others}")

    page.call("Page.reload")
    page.until("document.querySelector('#devices li')?.textContent.includes('000.123.457')", "the session outlives a reload")
    check(page.value("document.cookie") == "", "no script reads the session")
    click(page, "#logout", "Log out")
    page.until("!document.getElementById('login').hidden")
    check(page.value("document.querySelectorAll('.list li').length") == 0, "after log-out nothing is left to see")

    page.look(360, 740)
    log_in_with_code(site, page)
    page.value("document.getElementById('name').value = ''; document.getElementById('name').focus()")
    log_in_by_keyboard(page, "guest")
    page.until("document.getElementById('doors').hidden && document.getElementById('events').hidden && "
               "document.getElementById('devices').hidden", "who may nothing sees nothing")
    check(True, "who has no permission sees no doors, events and devices")
    site.ask("logins", "password", "guest", "--password-file", f"{site.where}/password")
    page.until("document.getElementById('login-error').textContent.includes('ended')", "the end of a session is told")
    check(True, "the end of a session is told by itself")


def try_from_elsewhere(site):
    """What a page of another server can have a browser send: the cookie is in it, and so is its origin."""

    def post(method, params, **headers):
        connection = http.client.HTTPSConnection("127.0.0.1", site.port, context=ssl._create_unverified_context())
        connection.request("POST", "/api", json.dumps({"jsonrpc": "2.0", "id": 1, "method": method, "params": params}),
                           {"Content-Type": "application/json", **headers})
        response = connection.getresponse()
        answer = response.status, response.getheader("Set-Cookie"), response.read()
        connection.close()
        return answer

    status, cookie, _ = post("login", ["anna", PASSWORD])
    check(status == 200 and all(part in cookie for part in ("HttpOnly", "Secure", "SameSite=Strict")), f"the cookie is {cookie.split(';', 1)[1]}")
    cookie = cookie.split(";")[0]
    check(post("createUser", [{"label": "Own"}], Cookie=cookie, Origin=site.url)[0] == 200, "the page's own request is done")
    check(post("createUser", [{"label": "Foreign"}], Cookie=cookie, Origin="https://evil.example")[0] == 403,
          "another server's page is refused")
    check("Foreign" not in site.ask("users") and "Own" in site.ask("users"), "and nothing of it is done")

    connection = http.client.HTTPSConnection("127.0.0.1", site.port, context=ssl._create_unverified_context())
    for path in ("/", "/page/page.js", "/page/page.css", "/page/texts.js"):
        connection.request("GET", path)
        response = connection.getresponse()
        text = response.read().decode()
        policy = response.getheader("Content-Security-Policy")
        check(response.status == 200 and "default-src 'none'" in policy and "unsafe" not in policy and "*" not in policy
              and response.getheader("X-Content-Type-Options") == "nosniff", f"{path} has its policy")
        if path == "/":
            check("<style" not in text and " style=" not in text and " on" not in text.replace(" only", "")
                  and "<script>" not in text, "no script, style or handler within the page")


def main():
    pictures = sys.argv[1]
    os.makedirs(pictures, exist_ok=True)
    with tempfile.TemporaryDirectory(prefix="kyr-page-") as where:
        site = Site(where)
        try:
            try_from_elsewhere(site)
            page = Browser()
            try:
                try_page(site, page, pictures)
            finally:
                page.close()
        finally:
            site.close()
    print(f"The page is in order; its pictures are in {os.path.relpath(pictures)}.")


if __name__ == "__main__":
    main()
