# SPDX-License-Identifier: Apache-2.0
"""Operators for Python. They work on the syntax tree, so that annotations and documentation stay as they are."""
import ast

COMPARISONS = {ast.Eq: "!=", ast.NotEq: "==", ast.Lt: "<=", ast.LtE: "<", ast.Gt: ">=", ast.GtE: ">",
               ast.Is: "is not", ast.IsNot: "is", ast.In: "not in", ast.NotIn: "in"}


class Finder(ast.NodeVisitor):
    """Collects (node, kind, new text) for every place that an operator fits."""

    def __init__(self, source, choose):
        self.source, self.choose = source, choose
        self.found = []

    def text(self, node):
        return ast.get_source_segment(self.source, node)

    def add(self, node, kind, after):
        self.found.append((node, kind, after))

    def visit_AnnAssign(self, node):
        if node.value:
            self.visit(node.value)

    def visit_FunctionDef(self, node):
        for default in [*node.args.defaults, *filter(None, node.args.kw_defaults)]:
            self.visit(default)
        for decorator in node.decorator_list:
            self.visit(decorator)
        for statement in node.body:
            self.visit(statement)

    def visit_Expr(self, node):
        if isinstance(node.value, ast.Constant):
            return  # documentation
        self.add(node, "dropped", "pass")
        self.generic_visit(node)

    def visit_Assign(self, node):
        if isinstance(node.targets[0], (ast.Attribute, ast.Subscript)):
            self.add(node, "dropped", "pass")
        self.generic_visit(node)

    def visit_Return(self, node):
        if node.value and not isinstance(node.value, ast.Constant):
            self.add(node.value, "field constant", "None")
        self.generic_visit(node)

    def condition(self, node):
        self.add(node.test, "inverted", f"not ({self.text(node.test)})")
        self.add(node.test, "skipped branch", f"({self.text(node.test)}) and False")
        self.generic_visit(node)

    visit_If = visit_IfExp = condition

    def visit_For(self, node):
        self.add(node.iter, "loop", f"list({self.text(node.iter)})[1:]")
        self.generic_visit(node)

    def visit_comprehension(self, node):
        self.add(node.iter, "loop", f"list({self.text(node.iter)})[1:]")
        self.generic_visit(node)

    def visit_Compare(self, node):
        if len(node.ops) == 1 and type(node.ops[0]) in COMPARISONS:
            other = COMPARISONS[type(node.ops[0])]
            self.add(node, "comparison", f"{self.text(node.left)} {other} {self.text(node.comparators[0])}")
        self.generic_visit(node)

    def visit_BoolOp(self, node):
        word = " or " if isinstance(node.op, ast.And) else " and "
        self.add(node, "comparison", word.join(f"({self.text(value)})" for value in node.values))
        self.generic_visit(node)

    def visit_Constant(self, node):
        value = node.value
        if isinstance(value, bool):
            self.add(node, "constant", str(not value))
        elif isinstance(value, (int, float)):
            self.add(node, "constant", str(value + 1))
            if value in (10, 1000, 1_000_000):
                self.add(node, "unit", str(value * 10))
        elif isinstance(value, (str, bytes)):
            self.letter(node)

    def visit_JoinedStr(self, node):
        for value in node.values:
            if isinstance(value, ast.FormattedValue):
                self.visit(value.value)
                self.add(value.value, "name", "0")

    def letter(self, node):
        text = self.text(node)
        spots = [i for i, letter in enumerate(text) if letter.isalpha() and i > 1 and text[i - 1] != "\\"]
        if spots:
            at = self.choose.choice(spots)
            self.add(node, "letter", text[:at] + ("x" if text[at] != "x" else "y") + text[at + 1:])

    def visit_Call(self, node):
        plain = [arg for arg in node.args if not isinstance(arg, ast.Starred)]
        for first, second in zip(plain, plain[1:]):
            if type(first) is type(second) and self.text(first) != self.text(second):
                texts = [self.text(arg) for arg in node.args]
                at = node.args.index(first)
                texts[at], texts[at + 1] = texts[at + 1], texts[at]
                texts += [self.text(keyword) for keyword in node.keywords]
                self.add(node, "swapped", f"{self.text(node.func)}({', '.join(texts)})")
        for keyword in node.keywords:
            self.add(keyword.value, "field constant", "None")
        self.generic_visit(node)

    def visit_Dict(self, node):
        for key, value in zip(node.keys, node.values):
            if key is not None:
                self.add(key, "field dropped", f"'dropped ' {self.text(key)}" if isinstance(key, ast.Constant) else "None")
                self.visit(value)


def mutations(lines, choose, suffix=".py"):
    """Changes of a module, as (index of the line, number of lines, kind, new text)."""
    del suffix
    finder = Finder("\n".join(lines), choose)
    finder.visit(ast.parse(finder.source))
    for node, kind, after in finder.found:
        first, last = node.lineno - 1, node.end_lineno - 1
        begin = lines[first].encode()[:node.col_offset].decode()
        end = lines[last].encode()[node.end_col_offset:].decode()
        yield first, last - first + 1, kind, begin + after + end
