#!/usr/bin/env python3
"""Writes the data-object classes described by schema.json as C++ headers and sources.

The generated classes hold only what differs between classes: their private block, their property table
and their typed accessors. Everything that works the same for every class lives in IRGObject.

usage: generate.py SCHEMA HEADER_DIR SOURCE_DIR
"""

import json
import os
import re
import sys

IDENT = re.compile(r"^[A-Za-z_][A-Za-z0-9_]*$")


class SchemaError(Exception):
    pass


def lower_first(name):
    return name[0].lower() + name[1:]


def parse_type(text, cls, classes):
    """Returns (kind, detail): kind is one of the base's PropertyKind names."""
    parts = text.split()
    if parts == ["string"]:
        return "String", None
    if parts == ["bool"]:
        return "Bool", None
    if parts == ["list", "string"]:
        return "StringList", None
    if len(parts) == 2 and parts[0] == "enum":
        if parts[1] not in cls.get("enums", {}):
            raise SchemaError(f"{cls['name']}: unknown enum {parts[1]}")
        return "Enum", parts[1]
    if len(parts) == 2 and parts[0] in ("object", "list"):
        if parts[1] not in classes:
            raise SchemaError(f"{cls['name']}: unknown class {parts[1]}")
        return ("Object" if parts[0] == "object" else "ObjectList"), parts[1]
    raise SchemaError(f"{cls['name']}: cannot read type '{text}'")


def load(path):
    with open(path, encoding="utf-8") as f:
        schema = json.load(f)
    classes = {c["name"]: c for c in schema["classes"]}
    for cls in schema["classes"]:
        if not IDENT.match(cls["name"]):
            raise SchemaError(f"bad class name {cls['name']}")
        if not -(2**31) <= cls["id"] < 2**31:
            raise SchemaError(f"{cls['name']}: the identifier must fit a qint32")
        names, tags = set(), set()
        for enum, members in cls.get("enums", {}).items():
            if not all(IDENT.match(m) for m in members) or len(set(members)) != len(members):
                raise SchemaError(f"{cls['name']}: the members of {enum} must be distinct identifiers")
        for prop in cls["properties"]:
            prop["kind"], prop["detail"] = parse_type(prop["type"], cls, classes)
            tag = int(prop["tag"], 16)
            if not IDENT.match(prop["name"]) or prop["name"] in names:
                raise SchemaError(f"{cls['name']}: property {prop['name']} is not a fresh identifier")
            if tag in tags or not 0 <= tag < 2**32:
                raise SchemaError(f"{cls['name']}: tag {prop['tag']} is repeated or too wide")
            names.add(prop["name"])
            tags.add(tag)
            prop["tag_value"] = tag
            default = prop.get("default")
            if prop["kind"] == "Enum":
                table = cls["enums"][prop["detail"]]
                if default is not None and default not in table:
                    raise SchemaError(f"{cls['name']}.{prop['name']}: default {default} is no member")
                prop["default_value"] = -1 if default is None else table.index(default)
            elif prop["kind"] == "Bool":
                prop["default_value"] = 1 if default else 0
            elif default is not None:
                raise SchemaError(f"{cls['name']}.{prop['name']}: only enums and booleans take a default")
            else:
                prop["default_value"] = 0
            prop["has_default"] = default is not None
        keys = [i for i, p in enumerate(cls["properties"]) if p.get("key")]
        if len(keys) > 1 or any(cls["properties"][i]["kind"] not in ("String", "Enum") for i in keys):
            raise SchemaError(f"{cls['name']}: at most one key, a string or an enum")
        cls["key_index"] = keys[0] if keys else -1
        enums = [i for i, p in enumerate(cls["properties"]) if p["kind"] == "Enum"]
        cls["last_enum_index"] = enums[-1] if enums else -1
    return schema, classes


def dependencies(cls):
    return sorted({p["detail"] for p in cls["properties"] if p["kind"] in ("Object", "ObjectList")})


def check_acyclic(classes):
    state = {}

    def visit(name, path):
        if state.get(name) == "done":
            return
        if state.get(name) == "open":
            raise SchemaError("classes contain each other: " + " -> ".join(path + [name]))
        state[name] = "open"
        for dep in dependencies(classes[name]):
            visit(dep, path + [name])
        state[name] = "done"

    for name in classes:
        visit(name, [])


def value_type(prop):
    return {
        "String": "QString",
        "Enum": "qint32",
        "Bool": "bool",
        "Object": prop["detail"],
        "StringList": "QVector<QString>",
        "ObjectList": f"QVector<{prop['detail']}>",
    }[prop["kind"]]


def item_type(prop):
    """Type of the default: one item for lists."""
    return {"StringList": "QString", "ObjectList": prop["detail"]}.get(prop["kind"], value_type(prop))


def param(type_name):
    return type_name if type_name in ("qint32", "bool") else f"const {type_name}&"


def accessors(cls, index, prop):
    """(declaration, definition body) pairs for one property; the body may be None for inline ones."""
    name, kind, member = prop["name"], prop["kind"], "m_" + lower_first(prop["name"])
    vt, it = value_type(prop), item_type(prop)
    out = []
    if kind == "String":
        out += [
            (f"QString Get{name}() const", f"return D()->{member};"),
            (f"void Set{name}(QString value)", f"AssignString({index}, std::move(value));"),
        ]
    elif kind in ("Enum", "Bool"):
        getter = f"const qint32& Get{name}() const" if kind == "Enum" else f"bool Get{name}() const"
        setter = "AssignEnum" if kind == "Enum" else "AssignBool"
        out += [
            (getter, f"return D()->{member};"),
            (f"void Set{name}({vt} value)", f"{setter}({index}, value);"),
        ]
    else:
        out += [
            (f"const {vt}& Get{name}() const", f"return D()->{member};"),
            (f"{vt}& Get{name}()", f"MarkSet({index});\n    return D()->{member};"),
        ]
        if kind == "Object":
            out.append((f"void Set{name}(const {vt}& value)", f"AssignObject({index}, value);"))
        else:
            out.append((f"void Set{name}(const {vt}& value)", f"D()->{member} = value;\n    MarkSet({index});"))
            append = "AppendString" if kind == "StringList" else "AppendObject"
            out.append((f"void Append{name}(const {it}& item)", f"{append}({index}, item);"))
    out += [
        (f"{'const ' + it + '&' if kind == 'Object' else it} GetDefault{name}() const",
         f"return D()->{member}Default;"),
        (f"void SetDefault{name}({param(it)} value)",
         f"D()->{member}Default = value;\n    MarkHasDefault({index});"),
    ]
    if kind == "Enum":
        table = f"k{prop['detail']}Names"
        out += [
            (f"qint32 GetInvalid{name}() const", f"return D()->{member}Invalid;"),
            (f"void SetInvalid{name}(qint32 value)", f"D()->{member}Invalid = value;"),
            (f"QString Get{name}AsString() const", f"return EnumToName({table}, Get{name}());"),
        ]
    out.append((f"bool Is{name}Set() const", f"return IsSet({index});"))
    if kind == "Enum":
        out.append((f"bool IsValid{name}(qint32 value) const", f"return IsMember(k{prop['detail']}Names, value);"))
    elif kind in ("String", "Bool"):
        out.append((f"bool IsValid{name}({param(vt)} value) const", "return IsValid(value);"))
    else:
        one = "IsValid(item)" if kind == "StringList" else "IsCompleteItem(item)"
        out.append((f"bool IsValid{name}(const {it}& item) const", f"return {one};"))
        if kind != "Object":
            out.append((
                f"bool IsValid{name}(const {vt}& list) const",
                f"return std::all_of(list.cbegin(), list.cend(),\n"
                f"                       [this](const {it}& item) {{ return IsValid{name}(item); }});",
            ))
    out.append((f"void Reset{name}()", f"ResetProperty({index});"))
    return out


def split_decl(decl):
    """'const T& GetX() const' -> ('const T&', 'GetX() const') so the definition can be qualified."""
    head, _, tail = decl.partition("(")
    ret, _, fname = head.rpartition(" ")
    return ret, fname + "(" + tail


def header(schema, cls):
    name, ns = cls["name"], schema["namespace"]
    lines = [
        f"// {cls['doc']}",
        "// Generated from msg/schema.json by msg/generate.py: change the schema, not this file.",
        "#pragma once",
        "",
        "#include <QString>",
        "#include <QStringList>",
        "#include <QVector>",
        "",
        "#include <zal/msg/irgobject.h>",
    ]
    lines += [f"#include <zal/msg/{dep.lower()}.h>" for dep in dependencies(cls)]
    lines += ["", f"namespace {ns} {{", "", f"class {name} : public REPORTGENERATOR::IRGObject {{", "public:"]
    for enum, members in cls.get("enums", {}).items():
        # A scope of their own keeps member names such as GetParameter clear of the accessors.
        lines += [f"    struct {enum} {{", "        enum Value : qint32 {"]
        lines += [f"            {m} = {i}," for i, m in enumerate(members)]
        lines += ["        };", "    };"]
    lines += [
        "",
        f"    {name}();",
        "    static qint64 GetId();",
        "",
    ]
    for enum in cls.get("enums", {}):
        lines += [
            f"    static QStringList Get{enum}s();",
            f"    static QStringList GetGUI{enum}s();",
            f"    static QString {enum}ToName(qint32 value);",
            f"    static qint32 NameTo{enum}(const QString& name);",
        ]
    for index, prop in enumerate(cls["properties"]):
        lines.append("")
        lines += [f"    {decl};" for decl, _ in accessors(cls, index, prop)]
    lines += [
        "",
        f"    bool operator==(const {name}& other) const {{ return Equals(other); }}",
        f"    bool operator!=(const {name}& other) const {{ return !Equals(other); }}",
        "",
        "protected:",
        "    const REPORTGENERATOR::ClassInfo& GetClassInfo() const override;",
        "",
        "private:",
        "    struct Data;",
        "    static const REPORTGENERATOR::ClassInfo classInfo;",
        "    Data* D() const;",
        "};",
        "",
        f"}}  // namespace {ns}",
        "",
    ]
    return "\n".join(lines)


def cstr(text):
    return '"' + text.replace("\\", "\\\\").replace('"', '\\"') + '"'


def data_block(cls):
    """The private block: each property's value, default and (enums) invalid value, and Field."""
    name, props = cls["name"], cls["properties"]
    lines = [f"struct {name}::Data final : RGObjectData {{",
             f"    Data() : RGObjectData({len(props)}) {{}}",
             "    RGObjectData* Clone() const override { return new Data(*this); }",
             "    void* Field(int index, FieldRole role) override;", ""]
    for prop in props:
        member, vt, it = "m_" + lower_first(prop["name"]), value_type(prop), item_type(prop)
        # Enums and booleans start at the schema's default, so that a new block needs no reset.
        init = {"Enum": f" = {prop['default_value']}",
                "Bool": " = true" if prop["default_value"] else " = false"}.get(prop["kind"], "")
        lines.append(f"    {vt} {member}{init};")
        lines.append(f"    {it} {member}Default{init};")
        if prop["kind"] == "Enum":
            lines.append(f"    qint32 {member}Invalid = -1;")
    lines += ["};", "", f"void* {name}::Data::Field(int index, FieldRole role) {{", "    switch (index) {"]
    for index, prop in enumerate(props):
        member = "m_" + lower_first(prop["name"])
        extra = f", &{member}Invalid" if prop["kind"] == "Enum" else ""
        lines.append(f"        case {index}:")
        lines.append(f"            return PickField(role, &{member}, &{member}Default{extra});")
    lines += ["    }", "    return nullptr;", "}"]
    return lines


def property_table(cls):
    """The PropertyInfo rows the base walks."""
    lines = ["const PropertyInfo kProperties[] = {"]
    for prop in cls["properties"]:
        kind = prop["kind"]
        element = prop["detail"] if kind in ("Object", "ObjectList") else prop["name"]
        names = f"&k{prop['detail']}Names" if kind == "Enum" else "nullptr"
        member = cstr("m_" + lower_first(prop["name"])) if kind == "Enum" else "nullptr"
        ops = f"&ObjectOpsFor<{prop['detail']}>::ops" if kind in ("Object", "ObjectList") else "nullptr"
        flags = ", ".join("true" if x else "false"
                          for x in (prop.get("key", False), prop.get("check", True), prop["has_default"]))
        lines += [
            f"    {{PropertyKind::{kind}, {cstr(prop['name'])}, {cstr(element)}, "
            f"static_cast<qint32>(0x{prop['tag_value']:08X}u),",
            f"     {flags}, {prop['default_value']}, {names}, {member}, {ops}}},",
        ]
    return lines + ["};"]


def class_definitions(cls):
    """The class information, the constructor and the enum functions."""
    name, props = cls["name"], cls["properties"]
    lines = [
        f"const ClassInfo {name}::classInfo = {{",
        f"    {cstr(name)}, Q_INT64_C({cls['id']}), kProperties, {len(props)}, "
        f"{cls['key_index']}, {cls['last_enum_index']},",
        "    []() -> RGObjectData* { return new Data(); }};",
        "",
        f"{name}::{name}() {{ SetObjectName(QStringLiteral({cstr(name)})); }}",
        "",
        f"qint64 {name}::GetId() {{ return classInfo.id; }}",
        "",
        f"const ClassInfo& {name}::GetClassInfo() const {{ return classInfo; }}",
        "",
        f"{name}::Data* {name}::D() const {{ return static_cast<Data*>(Block()); }}",
    ]
    for enum in cls.get("enums", {}):
        table = f"k{enum}Names"
        lines += [
            "",
            f"QStringList {name}::Get{enum}s() {{ return {table}; }}",
            f"QStringList {name}::GetGUI{enum}s() {{",
            f"    return TranslatedNames({cstr(name)}, {table});",
            "}",
            f"QString {name}::{enum}ToName(qint32 value) {{ return EnumToName({table}, value); }}",
            f"qint32 {name}::NameTo{enum}(const QString& name) {{ return NameToEnum({table}, name); }}",
        ]
    return lines


def source(schema, cls):
    name, ns = cls["name"], schema["namespace"]
    lines = [
        f"// {name}: generated from msg/schema.json by msg/generate.py.",
        f"#include <zal/msg/{name.lower()}.h>",
        "",
        "#include <algorithm>",
        "",
        f"namespace {ns} {{",
        "",
        "using namespace REPORTGENERATOR;",
        "",
        "namespace {",
        "",
    ]
    for enum, members in cls.get("enums", {}).items():
        lines.append(f"const QStringList k{enum}Names = {{")
        lines += [f"    QStringLiteral({cstr(m)})," for m in members]
        lines.append("};")
    lines += ["", "}  // namespace", ""] + data_block(cls) + ["", "namespace {", ""]
    lines += property_table(cls) + ["", "}  // namespace", ""] + class_definitions(cls)
    for index, prop in enumerate(cls["properties"]):
        for decl, body in accessors(cls, index, prop):
            ret, rest = split_decl(decl)
            lines += ["", f"{ret} {name}::{rest} {{", f"    {body}", "}"]
    lines += ["", f"}}  // namespace {ns}", ""]
    return "\n".join(lines)


def write(path, text):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "w", encoding="utf-8") as f:
        f.write(text)


def main(argv):
    if len(argv) != 4:
        sys.stderr.write(__doc__)
        return 2
    schema_path, header_dir, source_dir = argv[1:]
    try:
        schema, classes = load(schema_path)
        check_acyclic(classes)
    except (SchemaError, KeyError, ValueError) as error:
        sys.stderr.write(f"{schema_path}: {error}\n")
        return 1
    for cls in schema["classes"]:
        base = cls["name"].lower()
        write(os.path.join(header_dir, base + ".h"), header(schema, cls))
        write(os.path.join(source_dir, base + ".cpp"), source(schema, cls))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
