#!/usr/bin/python3
"""Runs a program under Wine, and ends the session of the prefix behind it, with all that it left.

To kill a server that is left would not do: Wine keeps in mind which classes a server has opened to
clients until the server takes them back, and sends whoever asks for one to the server that is gone.
"""

import subprocess
import sys

from wine_client import begin_new_session

code = subprocess.run(sys.argv[1:], check=False).returncode
begin_new_session()
sys.exit(code)
