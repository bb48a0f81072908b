"""A PostgreSQL server of a test's own: in a folder that goes again, reached by a socket in it, run by an ordinary user."""
import os
import pathlib
import pwd
import shutil
import subprocess
import tempfile


class Server:
    """A context: started on entry, stopped and removed on exit."""

    def __init__(self):
        found = sorted(pathlib.Path("/usr/lib/postgresql").glob("*/bin/initdb"))
        self.programs = found[-1].parent if found else None
        # A server refuses to run as root.
        self.user = "postgres" if os.geteuid() == 0 else None

    def is_there(self):
        try:
            return self.programs is not None and (self.user is None or pwd.getpwnam(self.user) is not None)
        except KeyError:
            return False

    def run(self, *command):
        how = {"user": self.user, "group": pwd.getpwnam(self.user).pw_gid, "extra_groups": []} if self.user else {}
        subprocess.run(command, check=True, cwd=self.folder, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, **how)

    def start(self):
        self.run(self.programs / "pg_ctl", "-D", "data", "-w", "-l", "log", "start", "-o",
                 f"-c listen_addresses= -c unix_socket_directories={self.folder} -c fsync=off -c max_wal_size=4GB")

    def kill(self):
        self.run(self.programs / "pg_ctl", "-D", "data", "-m", "immediate", "-w", "stop")

    def __enter__(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="zvrt-"))  # short: a socket's name has 107 bytes
        self.folder.chmod(0o711)
        if self.user:
            shutil.chown(self.folder, self.user)
        self.run(self.programs / "initdb", "-D", "data", "-A", "trust", "-U", "tester", "-E", "UTF8", "--locale=C", "--no-sync")
        self.start()
        return self

    def __exit__(self, *_):
        try:
            self.kill()
        except subprocess.CalledProcessError:
            pass  # a test killed it
        shutil.rmtree(self.folder)

    def sql(self, text):
        """What psql prints, a list of lines."""
        made = subprocess.run([self.programs / "psql", "-h", self.folder, "-U", "tester", "-d", "postgres", "-AtX", "-c", text],
                              check=True, capture_output=True, text=True)
        return made.stdout.splitlines()

    def copy(self, query):
        """A query's result as CSV."""
        return "\n".join(self.sql(f"COPY ({query}) TO STDOUT WITH (FORMAT csv)")) + "\n"
