"""What the generated parts of the installer's source have in common."""

import uuid
from xml.sax.saxutils import quoteattr

# Identifiers follow from what they stand for: the same in every version, which is how an upgrade knows
# its predecessor's files.
_SPACE = uuid.UUID("0f1f7b0e-6f3b-4a52-9f1e-5f0f3a7d9f10")


def guid(text):
    return str(uuid.uuid5(_SPACE, text)).upper()


def identifier(text):
    return "_" + uuid.uuid5(_SPACE, text).hex


def element(name, *content, **attributes):
    words = "".join(f" {key}={quoteattr(value)}" for key, value in attributes.items())
    if not content:
        return f"<{name}{words}/>"
    return f"<{name}{words}>\n" + "\n".join(content) + f"\n</{name}>"


def component(name, *content, bits64=True):
    return element("Component", *content, Id=identifier(name), Guid=guid(name),
                   Win64="yes" if bits64 else "no")


def write(file, group, components, content):
    """A file that puts `content`, with the components of these names in it, into the programs' folder,
    and calls the components a group."""
    references = [element("ComponentRef", Id=identifier(name)) for name in components]
    source = element("Wix", element("Fragment",
                                    element("DirectoryRef", *content, Id="INSTALLFOLDER"),
                                    element("ComponentGroup", *references, Id=group)),
                     xmlns="http://schemas.microsoft.com/wix/2006/wi")
    file.write_text('<?xml version="1.0" encoding="UTF-8"?>\n' + source + "\n", encoding="utf-8")
