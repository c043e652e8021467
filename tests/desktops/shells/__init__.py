"""The shells of the table, in its order."""

from shells.cinnamon import Cinnamon
from shells.i3 import I3
from shells.lxqt import Lxqt
from shells.mate import Mate
from shells.xfce import Xfce

SHELLS = {shell.name: shell for shell in (Xfce, Mate, Lxqt, Cinnamon, I3)}
