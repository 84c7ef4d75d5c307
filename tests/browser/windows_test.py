"""Windows of scripts in a real browser: what the user sees, what the script gets to know of it."""

import http.server
import threading
import time
import unittest

from karst_run import Folder, Run
from webdriver import wait_until
from window_case import WindowCase

# What scripts begin with: wait for a command of the window, and say what came.
PRELUDE = """string command
string value
int w
int n
"""
WAIT = """n = WaitWindow(w, &command)
printf("%d %s\\n", n, command)
"""
OPEN = PRELUDE + 'w = OpenWindow("page.html")\n'


def page(body, title="x"):
    return f"<!DOCTYPE html><html><head><title>{title}</title></head><body>{body}</body></html>"


LINK = page("<a href='karst:a'>a</a>")


class Elsewhere(http.server.ThreadingHTTPServer):
    """Another site, which keeps what it was asked for."""

    def __init__(self):
        self.asked = asked = []

        class Handler(http.server.BaseHTTPRequestHandler):
            def do_GET(self):
                asked.append(self.path)
                self.send_error(404)

            def log_message(self, *_):
                pass

        super().__init__(("127.0.0.1", 0), Handler)
        self.address = f"http://127.0.0.1:{self.server_port}/"
        threading.Thread(target=self.serve_forever, daemon=True).start()

    def __exit__(self, *_):
        self.shutdown()
        self.server_close()


class WindowTest(WindowCase):
    def test_links_and_pages_in_gbk(self):
        first = page("<h1>第一页</h1><a id=l href='karst:open?title=红楼梦&amp;n=1'>打开</a>")
        second = page("<h1>第二页 ：{{题名}}</h1><a id=back href=' KARST:back'>返回</a>")
        script = (OPEN + WAIT + 'SetHyperMacro(w, "题名", "<i>红 & 黑</i>")\nn = SetHyperFile(w, "second.html")\n'
                  + 'printf("%d\\n", n)\n' + WAIT)
        run = self.start(script, first, second_html=second)
        self.assertEqual(self.browser.text("h1"), "第一页")
        self.browser.click("#l")
        self.wait_for_page(2)
        self.assertEqual(self.browser.text("h1"), "第二页 ：<i>红 & 黑</i>")
        self.browser.click("#back")
        self.assertEqual(run.end(), (0, ["21 open?title=红楼梦&n=1", "0", "4 back"]))
        self.wait_for_end("脚本已结束")

    def test_a_form_is_filled_and_read_back(self):
        form = page("""<form action="karst:find?by=title">
            <input name="title"><input type="hidden" name="h" value="a&amp;b">
            <input type="checkbox" name="kind" value="1"><input type="checkbox" name="kind" value="2">
            <input type="checkbox" name="kind" value="3">
            <select name="sort"><option value="a">a</option><option value="t">t</option></select>
            <textarea name="note"></textarea><button name="go" value="1">查</button>
            <button id="other" formaction="karst:other" name="go" value="2">别</button></form>""")
        read = "".join(f'n = GetHyperMacro(w, "{name}", &value)\nprintf("%d %s\\n", n, value)\n'
                       for name in ("title", "kind", "sort", "note", "h", "none"))
        script = (OPEN + 'SetHyperMacro(w, "title", "红 & \\"黑\\"")\nSetHyperMacro(w, "kind", "1,3")\n'
                  + WAIT + read + WAIT)
        run = self.start(script, form)
        self.assertEqual(self.browser.value("[name=title]"), '红 & "黑"')
        self.browser.clear("[name=title]")
        self.browser.type("[name=title]", "呐喊=\U0001f4d6")
        self.browser.click("[value='2'][type=checkbox]")
        self.browser.click("[value='1'][type=checkbox]")
        self.browser.type("[name=sort]", "t")
        self.browser.type("[name=note]", "一\n二")
        self.browser.click("button")
        self.browser.click("#other")
        status, lines = run.end()
        command = "find?by=title&title=呐喊%3d%26%23128214;&h=a%26b&kind=2&kind=3&sort=t&note=一%0d%0a二&go=1"
        self.assertEqual(status, 0)
        self.assertEqual(lines[0], f"{len(command.encode('gbk'))} {command}")
        self.assertEqual(lines[1:-1], ["14 呐喊=&#128214;", "3 2,3", "1 t", "6 一", "二", "3 a&b", "-1 a&b"])
        self.assertIn("other?title=呐喊", lines[-1])

    def test_title_and_size_follow(self):
        script = (OPEN + 'SetTitle(w, "馆藏检索")\n' + WAIT
                  + 'MoveWindow(w, 30, 40, 400, -300)\nSetTitle(w, "第二")\n' + WAIT)
        run = self.start(script, LINK)
        wait_until(lambda: self.browser.title() == "馆藏检索", "the title")
        self.browser.click("a")
        wait_until(lambda: self.browser.title() == "第二", "the second title")
        box = self.shell("""const box = document.getElementById('frame').getBoundingClientRect();
                         return [box.left, box.top, box.width, box.height]""")
        self.assertEqual(box, [30, 40, 402, 300])
        self.assertEqual(self.shell("return document.getElementById('title').textContent"), "第二")
        self.browser.enter_document()
        self.browser.click("a")
        self.assertEqual(run.end(), (0, ["1 a", "1 a"]))

    def test_a_page_closed_by_its_user_ends_the_wait(self):
        script = OPEN + WAIT + WAIT + 'n = CloseWindow(w)\nprintf("%d %d\\n", n, CloseWindow(w))\n'
        run = self.start(script, page("x"))
        self.browser.close_page()
        self.browser.go_to(self.home)
        self.assertEqual(run.end(), (0, ["6 _close", "-1 ", "0 -1"]))

    def test_a_page_loaded_afresh_is_not_closed(self):
        script = OPEN + WAIT
        run = self.start(script, LINK)
        for _ in range(3):
            self.browser.reload()
            self.wait_for_page(1)
        second = self.show(run)  # two pages at one window: it is closed with the second
        self.browser.go_to(second)
        self.browser.close_page()
        self.browser.go_to(self.browser.pages()[1])
        time.sleep(2.5)
        self.browser.enter_document()
        self.browser.click("a")
        self.assertEqual(run.end(), (0, ["1 a"]))

    def test_two_windows_at_once_and_one_is_closed_by_the_script(self):
        script = (PRELUDE + 'int v\nw = OpenWindow("page.html")\nv = OpenWindow("second.html")\n'
                  + WAIT + 'n = WaitWindow(v, &command)\nprintf("%d %s\\n", n, command)\nCloseWindow(w)\n'
                  + 'n = WaitWindow(v, &command)\nprintf("%d %s\\n", n, command)\n')
        pages = [page(f"<a href='karst:{word}'>x</a>") for word in ("one", "two")]
        run = self.start(script, pages[0], second_html=pages[1], shown=False)
        first = self.show(run, 0)
        second = self.show(run, 1)
        self.assertNotEqual(run.address(0), run.address(1))
        self.browser.go_to(first)
        self.browser.enter_document()
        self.browser.click("a")
        self.browser.go_to(second)
        self.browser.enter_document()
        self.browser.click("a")
        is_closed = lambda: first not in self.browser.pages() or self.is_ended(first, "窗口已关闭")
        wait_until(is_closed, "the end of the first window")
        self.browser.go_to(second)
        self.browser.enter_document()
        self.browser.click("a")
        self.assertEqual(run.end(), (0, ["3 one", "3 two", "3 two"]))

    def is_ended(self, handle, text):
        self.browser.go_to(handle)
        return self.shell("return document.getElementById('reason').textContent") == text

    def test_a_script_that_ends_with_a_window_open(self):
        script = OPEN + WAIT + "stop 3\n"
        run = self.start(script, LINK)
        self.browser.click("a")
        self.assertEqual(run.end(), (3, ["1 a"]))
        self.wait_for_end("脚本已结束")

    def test_ctrl_c_ends_a_wait_in_order(self):
        script = OPEN + 'FnCat("out.txt", "whole")\n' + WAIT + 'FnCat("out.txt", "more")\n'
        run = self.start(script, page("x"))
        run.press_ctrl_c()
        self.assertEqual(run.end(seconds=5)[0], 130)
        self.assertEqual(self.folder.read("out.txt"), "whole")
        self.wait_for_end("脚本已结束")

    def test_a_program_that_dies_is_seen(self):
        run = self.start(OPEN + WAIT, page("x"))
        run.kill()
        self.wait_for_end("与脚本的连接已断开")

    def test_message_boxes_are_answered_in_the_page(self):
        script = OPEN + WAIT + 'printf("%d\\n", MsgBox("检查完毕\n<b>1</b> & 2"))\n'.replace("\n<", " <") + WAIT
        run = self.start(script, LINK)
        self.browser.click("a")
        self.browser.leave_document()
        wait_until(lambda: self.browser.run("return document.getElementById('message').open"), "the box")
        self.assertEqual(self.browser.text("#text"), "检查完毕 <b>1</b> & 2")
        self.browser.click("#ok")
        self.browser.enter_document()
        self.browser.click("a")
        self.assertEqual(run.end(), (0, ["1 a", "1", "1 a"]))
        self.assertEqual(len(run.errors), 1, run.errors)

    def test_a_message_box_that_goes_with_its_page_is_told_on_standard_error(self):
        script = OPEN + WAIT + 'printf("%d\\n", MsgBox("记录有误"))\n' + WAIT
        run = self.start(script, LINK)
        self.browser.click("a")
        self.browser.leave_document()
        wait_until(lambda: self.browser.run("return document.getElementById('message').open"), "the box")
        self.browser.close_page()
        self.assertEqual(run.end(), (0, ["1 a", "1", "6 _close"]))
        self.assertEqual(run.errors[1:], ["记录有误"])

    def test_fields_may_have_any_name(self):
        names = ["action", "getAttribute", "elements", "submit", "name", "题名"]
        fields = "".join(f"<input name='{name}' value='1'>" for name in names)
        body = f"<form action='karst:f'>{fields}<button id=send>x</button></form>"
        run = self.start(OPEN + WAIT, page(body))
        self.browser.click("#send")
        command = "f?" + "&".join(f"{name}=1" for name in names)
        self.assertEqual(run.end(), (0, [f"{len(command.encode('gbk'))} {command}"]))

    def test_macros_that_change_show_at_once_and_typing_stays(self):
        body = """<p>{{n}}</p><form><input name="typed"><input name="n"></form><a href="karst:a">a</a>"""
        script = OPEN + 'SetHyperMacro(w, "n", "1")\n' + WAIT + 'SetHyperMacro(w, "n", "2")\n' + WAIT
        run = self.start(script, page(body))
        self.assertEqual(self.browser.text("p"), "1")
        self.browser.type("[name=typed]", "红")
        self.browser.type("[name=n]", "5")
        self.browser.click("a")
        wait_until(lambda: self.has_text("p", "2"), "the new value")
        self.assertEqual(self.browser.value("[name=typed]"), "红")
        self.assertEqual(self.browser.value("[name=n]"), "2")
        self.browser.click("a")
        self.assertEqual(run.end(), (0, ["1 a", "1 a"]))

    def has_text(self, selector, text):
        self.browser.enter_document()
        return self.browser.text(selector) == text

    def test_print_opens_the_print_view_of_the_document(self):
        script = OPEN + WAIT + 'n = PrintWindow(w)\nprintf("%d\\n", n)\n' + WAIT
        run = self.start(script, LINK)
        self.shell("""document.getElementById('view').contentWindow.print =
                      () => { document.body.dataset.printed = 'yes'; }""")
        self.browser.enter_document()
        self.browser.click("a")
        wait_until(lambda: self.shell("return document.body.dataset.printed") == "yes", "the print view")
        self.browser.enter_document()
        self.browser.click("a")
        self.assertEqual(run.end(), (0, ["1 a", "0", "1 a"]))

    def test_a_document_runs_no_script_and_reaches_nothing_elsewhere(self):
        with Elsewhere() as elsewhere:
            body = f"""<link rel="stylesheet" href="{elsewhere.address}style.css">
                <script>parent.document.body.dataset.evil = 1</script>
                <img src="none.png" onerror="parent.document.body.dataset.evil = 2">
                <img id="near" src="near.svg"><img src="{elsewhere.address}far.svg">
                <a id="js" href="javascript:parent.document.body.dataset.evil=3">js</a>
                <form action="{elsewhere.address}form"><button id="away">x</button></form>
                <meta http-equiv="refresh" content="0;url={elsewhere.address}refresh"><a id="a" href="karst:a">a</a>"""
            near = '<svg xmlns="http://www.w3.org/2000/svg" width="20" height="10"/>'
            run = self.start(OPEN + WAIT, page(body), near_svg=near)
            width = "return document.getElementById('near').naturalWidth"
            wait_until(lambda: self.browser.run(width) == 20, "the picture beside the page")
            self.browser.click("#js")
            self.browser.click("#away")
            self.assertIsNone(self.shell("return document.body.dataset.evil || null"))
            self.browser.enter_document()
            self.browser.click("#a")
            self.assertEqual(run.end(), (0, ["1 a"]))
            self.assertEqual(elsewhere.asked, [])

    def test_a_page_cannot_reach_the_window_of_another_script(self):
        with Folder(a_pro=OPEN + WAIT, page_html=LINK) as folder, \
                Run(folder, "run", "a.pro") as one, Run(folder, "run", "a.pro") as other:
            self.show(other)
            self.show(one)
            self.browser.leave_document()
            report = '{"kind": "link", "page": 1, "target": "karst:evil"}'
            reached = self.browser.run("""return fetch(arguments[0] + 'report', {method: 'POST', body: arguments[1],
                mode: 'no-cors'}).then(() => 'reached', () => 'refused')""", other.address(), report)
            self.assertEqual(reached, "refused", "the policy of the page forbids it")
            self.browser.go_to(self.home)
            self.browser.run("""return fetch(arguments[0] + 'report', {method: 'POST', body: arguments[1],
                mode: 'no-cors'}).then(() => 'sent', () => 'refused')""", other.address(), report)
            for run in (one, other):
                run.press_ctrl_c()
                self.assertEqual(run.end(), (130, []), "nothing came to the script")


if __name__ == "__main__":
    unittest.main()
