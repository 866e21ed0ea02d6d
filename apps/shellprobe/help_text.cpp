#include "shellprobe/arguments.h"

namespace tarnwell::shellprobe {

std::string HelpText() {
    return R"(shellprobe: a small explorer. It finds the handlers in the registry, as the explorer does, and
drives them through COM for the files it is given.

  shellprobe menu [--flags=0] [--first=1] [--last=32767] FILE...
      shows the items that the handler puts into the menu of these files, as one line of JSON;
      --flags are the CMF_ flags of the menu, --first and --last the ids that it may use
  shellprobe invoke --offset=N [--flags=0] [--answer-after=0] FILE...
      carries out the command at that offset, answers the message boxes it is shown (each after
      that many milliseconds) and reports them
  shellprobe popup --at=X,Y [--flags=0] FILE...
      shows the real pop-up menu at that point of the screen and carries out what is chosen
  shellprobe icon [--large=32] [--small=16] [--async] [--png=PREFIX] [--through-shell] FILE...
      asks for the icons of these sizes in pixels (0: not this one), one line of JSON a file; with
      --async as a caller that cannot wait: what is "pending" (0x8000000A) is then asked for in the
      background. --png writes them to PREFIX-large.png and PREFIX-small.png; for several files
      PREFIX-1-large.png, PREFIX-2-large.png and so on, in their order
  shellprobe tip [--through-shell] FILE...
      shows the info tip, one line of JSON a file; with --through-shell, here and for icons, the
      system's shell is asked for the file's handler, as other programs do
  shellprobe stress --rounds=N [--only=menu|icon|tip] [--large=32] [--small=16] FILE...
      asks for menu, icon and tip of every file in turn, as far as its type has such handlers, 100
      times and then N times more, and reports how often each answered in these N, and before and
      after them what the process holds: heap bytes and blocks, committed bytes, handles, GDI
      objects
  shellprobe view [--mode=large|small|details] DIR
      shows the files of a folder in a window, with the icons, tips, menus and commands that the
      handlers give them, until it is closed. Ctrl+1, Ctrl+2 and Ctrl+3 change the mode, F5
      asks for every icon anew. What is shown and done is told as it happens, one line of JSON
      each, with the places on the screen of files ("listed") and menu items ("menu")
  shellprobe doctor [--json] [--wait=20]
      tells whether the installation works for this user, and what to do where it does not: a line
      a check, OK, WARN or FAIL, with --json as one object each. The manager is started and asked
      for a page that it does not have; it gets --wait seconds to tell its port and as many to
      answer, and is ended where it does not
  shellprobe --help | --version

For a menu, files that lie in one folder are handed over by the system's own data object, others by
one made here. Standard output carries JSON in UTF-8 and nothing else, but for doctor's lines.
Exit status: 0 if the handler answered with success, 1 if it failed or could not be had, 2 for a
wrong command line. A stress fails only where a handler cannot be had. Doctor's is 0 if all is OK, 1
if the worst line is a WARN, 2 if it is a FAIL; after a wrong command line there are no lines.
)";
}

}  // namespace tarnwell::shellprobe
