"""The shells of the table, in its order."""

from shells.xfce import Xfce

SHELLS = {shell.name: shell for shell in (Xfce,)}
