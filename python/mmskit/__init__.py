"""Multimedia messages (MMS): read any, compose new ones.

>>> import mmskit
>>> message = mmskit.open("examples/postcard.mms")
>>> message.kind, message.header("Subject"), message.slides[0].image.name
('m-retrieve-conf', 'Grüße vom Strand 🌅', 'sunset.jpg')
>>> pdu = mmskit.compose([mmskit.Slide(text="Hello")], to="+15550123", subject="Hi")

Everything that is handed out is a copy and an ordinary Python value. Any thread may call.
"""

from .compose import compose
from .message import Message, NotAMessage, open, read  # noqa: A004
from .model import Header, Media, Note, Part, Push, Slide, Text

__all__ = ["Header", "Media", "Message", "NotAMessage", "Note", "Part", "Push", "Slide", "Text"]
__all__ += ["compose", "open", "read"]
