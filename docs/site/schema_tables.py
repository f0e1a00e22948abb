# SPDX-License-Identifier: Apache-2.0
"""A JSON schema as tables in MyST: one for each kind of line, with a row for each member."""

import json


class Schema:
    def __init__(self, path):
        self.definitions = json.loads(path.read_text(encoding="utf-8"))["$defs"]

    def tables(self):
        """The tables of the definitions that are a line: those whose type is a constant."""
        for definition in self.definitions.values():
            kind = definition.get("properties", {}).get("type", {}).get("const")
            if kind:
                yield f"\n### `{kind}`\n\n{self.meaning(definition)}\n\n| member | type | meaning |\n| --- | --- | --- |\n"
                yield from self.rows(definition, "")

    def rows(self, node, prefix):
        for name, member in node.get("properties", {}).items():
            if "const" in member and not prefix and name == "type":
                continue
            optional = "" if name in node.get("required", ()) else ", optional"
            yield f"| `{prefix}{name}` | {cell(self.type_of(member) + optional)} | {cell(self.meaning(member))} |\n"
            inner = self.resolved(member)
            if "items" in inner:
                yield from self.rows(self.resolved(inner["items"]), f"{prefix}{name}[].")
            else:
                yield from self.rows(inner, f"{prefix}{name}.")

    def resolved(self, node):
        return self.definitions[node["$ref"].rpartition("/")[2]] if "$ref" in node else node

    def meaning(self, node):
        text = node.get("description") or self.resolved(node).get("description", "")
        return text[:1].upper() + text[1:]

    def type_of(self, node):
        node = self.resolved(node)
        if "const" in node:
            return f"`{json.dumps(node['const'])}`"
        if "enum" in node:
            return ", ".join(f"`{json.dumps(value)}`" for value in node["enum"])
        for several in ("oneOf", "anyOf"):
            if several in node:
                return " or ".join(self.type_of(one) for one in node[several])
        kind = node.get("type", "any")
        text = kind if isinstance(kind, str) else " or ".join(kind)
        return f"array of {self.type_of(node['items'])}" if text == "array" and "items" in node else text + limits(node)


def limits(node):
    low, high = node.get("minimum"), node.get("maximum")
    if high is not None and low is not None and high < 1e300:
        return f", {low} to {high}"
    return f", from {low}" if low is not None and abs(low) < 1e300 else ""


def cell(text):
    return text.replace("|", "\\|")
