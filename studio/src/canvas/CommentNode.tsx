// A comment on the canvas; a double click writes in it.
import type { Node, NodeProps } from "@xyflow/react";
import { memo, useState } from "react";
import type { Comment } from "../server/protocol";
import { useStudio } from "../state/store";

export type CommentNodeType = Node<{ comment: Comment }, "comment">;

function CommentNodeView({ data, selected }: NodeProps<CommentNodeType>) {
    const { comment } = data;
    const renaming = useStudio((s) => s.renaming === comment.id);
    const setRenaming = useStudio((s) => s.setRenaming);
    const edit = useStudio((s) => s.edit);
    const [text, setText] = useState(comment.text);
    const finish = () => {
        setRenaming(null);
        if (text !== comment.text) void edit([{ op: "comment", comment: comment.id, text }]);
    };
    if (!renaming)
        return (
            <div
                className={`comment-node${selected ? " selected" : ""}`}
                onDoubleClick={() => {
                    setText(comment.text);
                    setRenaming(comment.id);
                }}
            >
                {comment.text}
            </div>
        );
    return (
        <textarea
            className="comment-node nodrag nopan nowheel"
            aria-label="text of the comment"
            autoFocus
            value={text}
            onChange={(e) => setText(e.target.value)}
            onBlur={finish}
            onKeyDown={(e) => {
                e.stopPropagation();
                if (e.key === "Escape" || (e.key === "Enter" && (e.ctrlKey || e.metaKey))) finish();
            }}
        />
    );
}

export const CommentNode = memo(CommentNodeView);
