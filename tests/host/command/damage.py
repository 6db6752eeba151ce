"""Damage to model files: of any kind, of the diagram, and of the bytes. The same for the same source of chance."""

import copy

VALUES = [None, True, False, 0, 1, -1, 2, 8, 9, 65535, 65536, -(2**31), 2**31, 2**63, 2**64 - 1, -(2**63), 1e300, -0.0]
VALUES += [0.5, 1e-300, "", "x", "nan", "-1", "0", "[]", "[1]", "[[1,2],[3]]", "1e999", "True", "'a'", "\0", "\x01\n"]
VALUES += ["\u00e9" * 50, "1" * 400, [], [1], {}, {"a": 1}, [[]], "m.json", ".", "/dev/zero", "1/0", "2**100000", "[0]*3"]
KEYS = ["add", "abs", "refsys", "enable", "subsys", "goto", "from", "cast", "outport", "memory", "x", "name", "id", "parent"]


def pointers(value, at=()):
    """The places of all values inside."""
    children = value.items() if isinstance(value, dict) else enumerate(value) if isinstance(value, list) else ()
    for key, child in children:
        yield (*at, key)
        yield from pointers(child, (*at, key))


def at(value, pointer):
    for key in pointer:
        value = value[key]
    return value


def damage(model, chance):
    """Changes the model in one to six places."""
    for _ in range(chance.choice([1, 1, 1, 2, 3, 6])):
        places = list(pointers(model))
        if not places:
            return
        pointer = chance.choice(places)
        holder, key = at(model, pointer[:-1]), pointer[-1]
        old = holder[key]
        number = isinstance(old, (int, float)) and not isinstance(old, bool)
        kind = chance.randrange(6)
        if kind == 0:
            del holder[key]
        elif kind == 1:
            holder[key] = copy.deepcopy(at(model, chance.choice(places)))
        elif kind == 2 and isinstance(holder, list):
            holder.append(copy.deepcopy(old))
        elif kind == 3 and number:
            holder[key] = chance.choice([old + 1, old - 1, -old, old * 2**32, old / 3])
        elif kind == 4 and isinstance(holder, dict):
            holder[chance.choice(KEYS)] = holder.pop(key)
        else:
            holder[key] = chance.choice(VALUES)


def tear(text, chance):
    """Changes the bytes of the file."""
    data = bytearray(text.encode())
    for _ in range(chance.choice([1, 1, 2, 10])):
        place = chance.randrange(len(data))
        kind = chance.randrange(3)
        if kind == 0:
            data[place] = chance.randrange(256)
        elif kind == 1:
            del data[place : place + chance.choice([1, 1, 5, 500, len(data)])]
            data = data or bytearray(b" ")
        else:
            data[place:place] = bytes(chance.choice([b"{", b"]", b'"', b"\xff", b"\0", b",", b"e99999", b"\xe2\x80\xae"]))
    return bytes(data)


COUNTS = [-1, 0, 1, 2, 3, 4, 5, 8, 9, 300, 40000, 65535, 65536, 70000, 2000000, 2**31, 2**32 + 1, 2**63, 2**64 - 1]
PORTS = [-1, 0, 0, 1, 1, 2, 3, 7, 9, 65535]
NUMBERS = ["True", "1", "1.5", "-1", "0", "7", "300", "'x'", 3, 2.5, "", "[0.0, 1.0]", "[[0.0, 1.0], [2.0, 3.0]]", "k"]
TYPES = ["bool", "int8", "uint8", "int16", "int32", "uint64", "flt32", "flt64", "double", ""]
TEXTS = {"type": TYPES, "target": ["a", "b", "", "g"], "operator": ["and", "or", "eq", "ne", "lt", "xor", ""],
         "path": ["", ".", "m.json", "no.json", "/dev/null", "motor.json"]}


def blocks_of(model):
    """Class and data of every block that is one."""
    blocks = model.get("blocks") if isinstance(model, dict) else None
    found = []
    for element in blocks if isinstance(blocks, list) else ():
        if isinstance(element, dict) and len(element) == 1 and isinstance(next(iter(element.values())), dict):
            found.append(element)
    return found


def damage_diagram(model, chance, classes):
    """Changes the drawing in one to four places: what an editor with a fault could have written."""
    for _ in range(chance.choice([1, 1, 2, 2, 3, 4])):
        blocks = blocks_of(model)
        links = model.get("links") if isinstance(model, dict) else None
        if not blocks or not isinstance(links, list):
            return
        element = chance.choice(blocks)
        name, data = next(iter(element.items()))
        link = chance.choice(links) if links else {}
        link = link if isinstance(link, dict) else {}

        def some_id():
            return chance.choice([next(iter(b.values())).get("id", 0) for b in blocks] + [0, 7])

        def insert(kind, **more):
            number = 10**15 + chance.randrange(10**14)
            links.append({"srcId": number, "dstId": link.get("dstId", 0), "dstPort": link.get("dstPort", 0)})
            link.update(dstId=number, dstPort=0)
            model["blocks"].append({kind: {"name": kind, "id": number, "parent": data.get("parent", 0)} | more})

        kind = chance.randrange(18)
        if kind == 0 and links:
            links.remove(chance.choice(links))
        elif kind == 1:
            link["dstPort"] = chance.choice(PORTS)
        elif kind == 2:
            link["srcPort"] = chance.choice(PORTS)
        elif kind == 3:
            link["srcId"] = some_id()
        elif kind == 4:
            link["dstId"] = some_id()
        elif kind in (5, 6):
            links.append({"srcId": some_id(), "dstId": some_id(), "dstPort": chance.choice([0, 0, 1, -1])})
        elif kind == 7:
            element[chance.choice(classes)] = element.pop(name)
        elif kind == 8:
            data["inportCount"] = chance.choice(COUNTS)
        elif kind == 9:
            data["id"] = some_id()
        elif kind == 10:
            data["parent"] = some_id()
        elif kind == 11:
            insert("cast", type=chance.choice(TYPES))
        elif kind == 12:
            insert(chance.choice(["memory", "abs", "goto", "from", "outport", "inport", "enable"]), target=chance.choice("abg"))
        elif kind == 13:
            keys = [key for key in data if key not in ("name", "id", "parent", "geometry", "inportCount", "outportCount")]
            key = chance.choice(keys or ["portNumber"])
            data[key] = chance.choice(TEXTS.get(key, NUMBERS))
        elif kind == 14:
            data["portNumber"] = chance.choice([0, 1, 2, "0", "1", -1, 65535, 65536])
        elif kind == 15:
            model["blocks"].append(copy.deepcopy(element))
        elif kind == 16:
            chance.shuffle(model["blocks"])
        else:
            model["model"] = {"ti": 0.0, "tf": 1.0, "ts": 0.25} | {chance.choice(["ti", "tf", "ts"]): chance.choice(VALUES)}
