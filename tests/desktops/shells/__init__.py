"""The shells of the table, in its order."""

from shells.cinnamon import Cinnamon
from shells.gnome import Gnome, GnomeBare
from shells.i3 import I3
from shells.lxqt import Lxqt
from shells.mate import Mate
from shells.plasma import Plasma
from shells.wlroots import LabwcWaybar, SwaySwaybar, SwayWaybar
from shells.xfce import Xfce

SHELLS = {shell.name: shell for shell in (
    Gnome, GnomeBare, Plasma, SwayWaybar, SwaySwaybar, LabwcWaybar, Xfce, Mate, Lxqt, Cinnamon, I3)}
