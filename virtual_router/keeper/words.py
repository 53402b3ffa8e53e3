# SPDX-License-Identifier: MIT
"""The words of script/router that ask about requests, and how it prints what is answered.

ASKED: verb -> function of the words, which returns the question for the keeper and a function that makes lines of each answer; or
None and a text to be printed.
"""

import json
import time

from printable import printable

JOURNAL_HELP = """\
Usage: script/router journal [list] [CONDITION...] [--last N] [--json]
       script/router journal N [--secrets] [--json]
       script/router journal N --as curl|typescript|python|case|step [--secrets]
       script/router journal follow [CONDITION...] [--json]
       script/router journal clear

The last 10000 requests, and what each did. Without a word it lists the last 20.

  N                  all of the request with this number: what was sent and answered, and what app.cgi did, in order
  --as FORM          print it as something to go on with: a line of curl, a piece of TypeScript or Python, a case for tests/run_cases,
                     a step of a scenario; secrets are stand-ins there
  follow             print each as soon as it is over, until Ctrl-C
  clear              forget all of them; numbers go on

  --phone N          only those of this phone
  --action NAME      only those with this action
  --object NAME      only those that name this object
  --since N          only those behind the one with this number
  --text TEXT        only those in whose request or reply this text is
  --failed           only those that were not answered with error 0
  --last N           the last N of them
  --secrets          show passwords, keys and session ids as they are
  --json             print JSON, a line for each
"""
LISTED = 20
# option -> its key among the conditions, and the type of its value; None: it has none
CONDITIONS = {
    "--phone": ("phone", int), "--action": ("action", str), "--object": ("object", str), "--since": ("since", int), "--text": ("text", str),
    "--failed": ("failed", None),
}  # fmt: skip


class WrongWords(Exception):
    pass


def take_options(words, known):
    """(the words that are no options, {option's key: value})."""
    rest, found = [], {}
    words = list(words)
    while words:
        word = words.pop(0)
        name, equals, value = word.partition("=") if word.startswith("--") else (word, "", "")
        if name not in known:
            if word.startswith("-"):
                raise WrongWords(f"there is no option '{word}'")
            rest.append(word)
            continue
        key, kind = known[name]
        if kind is None:
            if equals:
                raise WrongWords(f"{name} takes no value")
            found[key] = True
            continue
        if not equals:
            if not words:
                raise WrongWords(f"{name} needs a value")
            value = words.pop(0)
        try:
            found[key] = kind(value)
        except ValueError:
            raise WrongWords(f"{name} takes a number, not '{value}'") from None
    return rest, found


def journal(words):
    if list(words[:1]) in (["help"], ["--help"]):
        return None, JOURNAL_HELP.rstrip()
    more = {"--last": ("last", int), "--json": ("json", None), "--secrets": ("secrets", None), "--as": ("as", str)}
    rest, options = take_options(words, {**CONDITIONS, **more})
    conditions = {key: options[key] for key, _ in CONDITIONS.values() if key in options}
    last, as_json, secrets = options.get("last"), options.get("json"), options.get("secrets")
    verb = rest[0] if rest else "list"
    if len(rest) > 1:
        raise WrongWords(f"'{rest[1]}' is one word too many")
    if verb.isdigit():
        if conditions or last:
            raise WrongWords("one request is shown whole, without conditions")
        if "as" in options:
            return {"do": "copy", "number": int(verb), "as": options["as"], "secrets": bool(secrets)}, lambda answer: [answer["text"].rstrip("\n")]
        return {"do": "whole", "number": int(verb), "secrets": bool(secrets)}, as_lines if as_json else whole_lines
    if secrets or "as" in options:
        raise WrongWords("--secrets and --as belong to the number of one request")
    if verb == "clear" and not options:
        return {"do": "clear"}, as_lines
    if verb == "follow" and last is None:
        return {"do": "follow", "wanted": conditions}, as_lines if as_json else listed_lines
    if verb == "list":
        if last is not None and last < 1:
            raise WrongWords("--last takes a number from 1 on")
        last = last or (None if conditions else LISTED)
        return {"do": "list", "wanted": conditions, "last": last}, as_lines if as_json else listed_lines
    raise WrongWords(f"the journal does not know '{' '.join(map(str, words))}'")


FAULTS_HELP = """\
Usage: script/router faults [list]
       script/router faults add "FAULT" ["FAULT"...]
       script/router faults clear [N]

Lets requests at the PC's ports meet faults, until they are cleared. A fault is what fails, and before it how, when, and for which
requests; virtual_router/vocabulary/faults.conf describes it.

  delay=2000000 reply                     replies come two seconds late
  delay=100000..3000000 seed=7 reply      after a time that is drawn, the same times again from the same seed
  failed=none reply                       the work is done, and no reply ever comes
  failed=cut:100 reply                    the reply ends behind 100 bytes of its body
  failed=garbage reply                    it has other bytes
  failed=503 reply                        the web server answers so, and app.cgi is not asked
  connect                                 connections are refused
  failed=lost session                     the session is gone when the request arrives
  failed=taken session                    it is another phone's
  failed=off router                       the router is off until this is cleared
  failed=booting:30 router                it starts anew, and takes 30 seconds
  set MIB_APP_PORT                        this item cannot be written; without an item, none can: a full store
  get MIB_DUT_NAME, entry MIB_MACFILTER_TBL_NUM, add MIB_MACFILTER_TBL_NUM, delete ..., delete-all ...
                                          an item cannot be read, an entry of a table not read, added, deleted
  commit, save                            the commit fails, or the settings file
  cut-power                               the power goes in the middle of a commit
  failed=EAGAIN msgsnd                    the queue to the system daemon is full
  failed=ENOENT msgget                    there is none
  failed=1 run killall                    this command fails, with that status
  delay=60000000 run ping                 it hangs for a minute
  failed=ENOENT open /tmp/topology_json   the program finds no such file
  failed=cut content /tmp/topology_json   the file ends in its middle
  failed=noise content /tmp/topology_json has wrong bytes in it

Before any of them: requests=3 (for so many, then it is over), action=set, object=wifi, phone=2.
"""


def faults(words):
    if list(words[:1]) in (["help"], ["--help"]):
        return None, FAULTS_HELP.rstrip()
    rest, options = take_options(words, {"--json": ("json", None)})
    verb, *rest = rest or ["list"]
    show = as_lines if options.get("json") else fault_lines
    if verb == "list" and not rest:
        return {"do": "list"}, show
    if verb == "add" and rest:
        return {"do": "add", "faults": rest}, show
    if verb == "clear" and len(rest) <= 1:
        if rest and not rest[0].isdigit():
            raise WrongWords(f"a fault has a number, and '{rest[0]}' is none")
        return {"do": "clear", "number": int(rest[0]) if rest else None}, show
    raise WrongWords(f"faults are not asked for with '{' '.join(map(str, words))}'")


def fault_lines(answer):
    if "cleared" in answer:
        return [f"{answer['cleared']} cleared"]
    more = "" if "struck" not in answer else f"    ({answer['struck']} requests so far" + (f", {answer['left']} to come)" if answer["left"] is not None else ")")
    return [f"{answer['number']:>4}  {safe(answer['fault'])}{more}"]


ASKED = {"journal": journal, "faults": faults}


def as_lines(answer):
    return [json.dumps(answer)]


def clock(microseconds):
    seconds, rest = divmod(microseconds, 1_000_000)
    return time.strftime("%H:%M:%S", time.gmtime(seconds)) + f".{rest // 1000:03d}"


def milliseconds(microseconds):
    return "-" if microseconds is None else f"{microseconds / 1000:.1f} ms"


def what_is_asked(line):
    if line["action"]:
        return safe(" ".join([line["action"], ",".join(line["objects"])]).strip())
    return line["asks"] or "?"


def safe(text):
    return printable(text.encode("utf-8", "surrogatepass"))


def listed_lines(line):
    if "lost" in line:
        return [f"({line['lost']} requests were not shown: they came too fast)"]
    if "gone" in line:
        gone = f"; {line['gone']} older ones have gone" if line["gone"] else ""
        return [f"({line['shown']} of {line['all']} requests{gone})"] if line["shown"] < line["all"] or gone else []
    who = line["port"] or f"{line['address'] or '?'} in {line['router']}"
    faults = f"  [{'; '.join(line['faults'])}]" if line["faults"] else ""
    return [f"{line['number']:>6}  {clock(line['time'])}  {who:<9}  {what_is_asked(line):<28}  {milliseconds(line['duration']):>10}  {safe(line['verdict'])}{faults}"]


def whole_lines(found):
    session = f", session: {found['session']}" if found["session"] else ""
    lines = [
        *listed_lines(found),
        f"        from {found['address'] or '?'} by {found['port'] or 'no port'}{session}"
        + (f", HTTP {found['http']}" if found["http"] else "")
        + (f", exit status {found['exit']}" if found["exit"] is not None else "")
        + (f", replied after {milliseconds(found['replied'])}" if found["replied"] is not None else ""),
    ]  # fmt: skip
    lines += indented("request", found["request"]["body"], found["request"]["cut"])
    if found["events"]:
        lines.append("what it did, in milliseconds since it came:")
        lines += [f"{event['at'] / 1000:>10.3f}  {event['text']}" for event in found["events"] if event["word"] not in ("input", "reply", "asked")]
    if found["untold"]:
        lines.append("            (more was told than is kept)")
    lines += [f"            (no event: {line})" for line in found["refused_lines"]]
    for deed in found["deeds"]:
        lines += [f"what the system daemon did for {deed['title']}:", *(f"    {safe(line)}" for line in deed["lines"])]
        lines += [f"    ({deed['untold']} more lines)"] if deed["untold"] else []
    return lines + indented("reply", found["reply"]["body"], found["reply"]["cut"])


def indented(title, text, cut):
    lines = [safe(line).replace("\\x09", "    ") for line in text.rstrip("\n").split("\n")] if text else ["(nothing)"]
    return [f"{title}:", *("    " + line for line in lines), *(["    (cut)"] if cut else [])]
