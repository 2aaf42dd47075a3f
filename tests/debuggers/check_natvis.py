"""Run inside gdb with `natvis` set: every type that the file names exists, and every expression
in it begins with a field of its type. Which debugger shows it how can be seen there alone."""

import re
import xml.etree.ElementTree

import gdb

SPACE = "{http://schemas.microsoft.com/vstudio/debugger/natvis/2010}"


def expressions(node):
    """C++ expressions of a type's view: in braces in display strings, plain elsewhere."""
    for part in node.iter():
        text = part.text or ""
        if part.tag == SPACE + "DisplayString":
            yield from re.findall(r"\{([^}]*)\}", text)
        elif part.tag in (SPACE + "Item", SPACE + "Size", SPACE + "ValuePointer"):
            yield text
        if "Condition" in part.attrib:
            yield part.attrib["Condition"]


def first_field(expression):
    without_cast = re.sub(r"^\([^)]*\)", "", expression)
    return re.match(r"\w+", without_cast)


seen = 0
for node in xml.etree.ElementTree.parse(natvis).getroot().iter(SPACE + "Type"):
    names = [node.attrib["Name"]]
    names += [other.attrib["Name"] for other in node.iter(SPACE + "AlternativeType")]
    for name in names:
        fields = {f.name for f in gdb.lookup_type(name.replace("*", "float")).fields()}
        for expression in expressions(node):
            field = first_field(expression)
            if expression != "*this,!" and (not field or field.group() not in fields):
                raise gdb.GdbError("%s has no field for %s" % (name, expression))
            seen += 1
if seen < 40:
    raise gdb.GdbError("only %d expressions found" % seen)
print("natvis: %d expressions fit" % seen)
