#!/usr/bin/python3
"""The installer's files: files.py STAGE VERSION FRAGMENT SQL

STAGE is a folder that is laid out as the folder of the programs will be. Programs have the version."""

import pathlib
import sys

from fragment import component, element, identifier, write


def content_of(stage, folder, components):
    """The elements of what lies in `folder`; `components` gets the names of theirs."""
    for path in sorted((stage / folder).iterdir()):
        name = path.relative_to(stage)
        if path.is_dir():
            yield element("Directory", *content_of(stage, name, components),
                          Id=identifier(f"folder {name}"), Name=path.name)
        else:
            components.append(f"file {name}")
            yield component(f"file {name}", element("File", Id=identifier(f"file {name}"), Name=path.name,
                                                    Source=str(name), KeyPath="yes"))


def version_rows(name, version):
    """Of two files with versions the newer one stays, of others one that was changed: the installer
    has to know which they are, and the compiler of its source does not look."""
    row = identifier(f"file {name}")
    return (f"UPDATE `File` SET `Version` = '{version}.0', `Language` = '1033' WHERE `File` = '{row}'\n"
            f"DELETE FROM `MsiFileHash` WHERE `File_` = '{row}'\n")


def main(stage, version, fragment, sql):
    components = []
    content = list(content_of(stage, "", components))
    write(fragment, "Files", components, content)
    sql.write_text("".join(version_rows(path.name, version) for path in sorted(stage.iterdir())
                           if path.suffix in (".exe", ".com")), encoding="utf-8")


if __name__ == "__main__":
    main(pathlib.Path(sys.argv[1]), sys.argv[2], pathlib.Path(sys.argv[3]), pathlib.Path(sys.argv[4]))
